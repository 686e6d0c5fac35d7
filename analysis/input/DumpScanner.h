#ifndef STALLSCOPE_ANALYSIS_INPUT_DUMPSCANNER_H
#define STALLSCOPE_ANALYSIS_INPUT_DUMPSCANNER_H

#include <optional>
#include <string_view>
#include <vector>

#include "analysis/input/DeadlockSummary.h"
#include "analysis/input/DumpHeader.h"
#include "analysis/input/DumpThreadLines.h"
#include "analysis/model/Place.h"
#include "analysis/model/ThreadDump.h"

namespace stallscope {

// Files the lines of thread dumps; where it stands in a dump tells what a line can be.
class DumpScanner {
  public:
    // Appends to *dumps.
    DumpScanner(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count);

    void run();

    // True for a line that begins a dump or a thread.
    static bool isBeginning(std::string_view line);

  private:
    enum class Where {
        kOutside,
        kPreamble,  // what the runtime says of itself, which nobody asks for
        kThreads,
        kSummary,  // HotSpot's deadlocks
        kHeap,     // HotSpot's
        kChannels,
    };

    void readOrKeep(std::string_view line);
    bool completesName(std::string_view line);
    void dropOpenName();
    void file(LineVerdict verdict, std::string_view line);
    LineVerdict readLine(std::string_view line);
    LineVerdict readMark(const SectionMark& mark);
    LineVerdict readTitle(std::string_view line);
    LineVerdict readOutside(std::string_view line);
    LineVerdict readPreamble(std::string_view line);
    LineVerdict readThreads(std::string_view line);
    LineVerdict readSummary(std::string_view line);
    void beginDump(int pid, std::string_view time);
    void closeDump();
    void beginThread(ThreadHeader header);
    void closeThread();
    ThreadDump& dump() { return mDumps->back(); }

    TextPiece mPiece;
    std::vector<ThreadDump>* mDumps;
    size_t mDumpsBefore;
    LineCount* mCount;
    Place mPlace;
    Where mWhere = Where::kOutside;
    bool mHasTitle = false;
    std::string_view mOpenName;     // a line with a quote that the next one may close
    std::string_view mOutsideTime;  // of the line before
    int mOutsidePid = 0;            // of the lines before
    DumpThreadLines mLines;
    DeadlockSummary mSummary;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DUMPSCANNER_H
