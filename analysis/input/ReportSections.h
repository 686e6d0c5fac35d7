#ifndef STALLSCOPE_ANALYSIS_INPUT_REPORTSECTIONS_H
#define STALLSCOPE_ANALYSIS_INPUT_REPORTSECTIONS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Collects the sections of a bug report that are wanted and has each read when it is whole.
class ReportSections {
  public:
    ReportSections(Snapshot* snapshot, uint32_t source) : mSnapshot(snapshot), mSource(source) {}

    // Ends the section before. A title that is not wanted begins none.
    void begin(std::string_view title, uint32_t firstLine);
    // Begins a dump in a section that is not wanted itself.
    void beginDump(uint32_t firstLine);
    bool isOpen() const { return mKind != Kind::kNone; }
    // Adds a line to the open section; without "\n" if the report ends in it.
    void add(std::string_view line, bool hasEnd);
    void end();
    // So many bytes can be kept yet.
    uint64_t room() const;
    // Settles what depends on the whole report.
    void finish();

  private:
    enum class Kind { kNone, kLog, kState, kTracesNow, kTraces, kProcesses, kStrayDump };

    static Kind kindOf(std::string_view title);
    size_t contentEnd();
    void read(const KeptText& text);
    // False when the text is not kept.
    bool readBinderText(const KeptText& text);
    void note(const std::string& text);

    Snapshot* mSnapshot;
    uint32_t mSource;
    Kind mKind = Kind::kNone;
    std::string mTitle;
    uint32_t mFirstLine = 0;
    uint32_t mLines = 0;
    std::string mText;
    uint64_t mKept = 0;
    bool mHasState = false;
    bool mIsFull = false;
    std::vector<ThreadDump> mOtherDumps;  // not of "VM TRACES JUST NOW"
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_REPORTSECTIONS_H
