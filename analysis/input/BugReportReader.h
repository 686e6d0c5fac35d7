#ifndef STALLSCOPE_ANALYSIS_INPUT_BUGREPORTREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_BUGREPORTREADER_H

#include <memory>
#include <string_view>

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Reads a bug report's text in pieces of any size, in one pass: only the wanted sections are kept.
//     BugReportReader reader(&snapshot);
//     while (...) reader.add(chunk);
//     reader.finish();
// Fills log, logMoment, poolThreads, dumps (with isOfLogsMoment), names, lines, texts and notes of
// the snapshot, whose sources[source] is the report. Never fails.
class BugReportReader {
  public:
    explicit BugReportReader(Snapshot* snapshot, uint32_t source = 0);
    ~BugReportReader();
    BugReportReader(const BugReportReader&) = delete;
    BugReportReader& operator=(const BugReportReader&) = delete;

    void add(std::string_view chunk);
    void finish();

  private:
    struct State;
    std::unique_ptr<State> mState;
};

// A whole report at once, for tests and fuzzers.
void readBugReport(std::string_view text, Snapshot* snapshot);

// True when one of the first lines is `== dumpstate: TIME` or a "------ TITLE (...) ------".
bool looksLikeBugReport(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_BUGREPORTREADER_H
