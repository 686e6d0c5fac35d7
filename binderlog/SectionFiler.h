#ifndef STALLSCOPE_BINDERLOG_SECTIONFILER_H
#define STALLSCOPE_BINDERLOG_SECTIONFILER_H

#include <map>
#include <string_view>
#include <vector>

#include "binderlog/BinderTransaction.h"

namespace android {

// Transactions in the order of the log, by the pid in whose section they stand. A section that
// occurs twice collects the lines of both.
using BinderLogSections = std::map<int, std::vector<BinderTransaction>>;

// Turns the lines of a log, handed in one at a time, into sections; whose lines they are and which
// kernel runs here is no matter. A number that does not fit its field ends the process.
class SectionFiler {
  public:
    // `sections` outlives the filer and is whole when the filer is gone.
    SectionFiler(bool isNewFormat, BinderLogSections* sections);
    ~SectionFiler();
    SectionFiler(const SectionFiler&) = delete;
    SectionFiler& operator=(const SectionFiler&) = delete;

    // One line without its line end.
    void file(std::string_view line);

  private:
    void enterSection(int pid);
    void leaveSection();

    const bool mIsNewFormat;
    BinderLogSections* const mSections;
    BinderLogSections::iterator mCurrent;  // the end outside of every section
    std::vector<BinderTransaction> mRecords;
};

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_SECTIONFILER_H
