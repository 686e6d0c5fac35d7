#ifndef STALLSCOPE_ANALYSIS_INPUT_DUMPTHREADLINES_H
#define STALLSCOPE_ANALYSIS_INPUT_DUMPTHREADLINES_H

#include <string_view>
#include <vector>

#include "analysis/input/DumpLock.h"
#include "analysis/model/ThreadDump.h"

namespace stallscope {

enum class LineVerdict { kRead, kIgnored, kSkipped };

// Files the lines below a thread's header.
class DumpThreadLines {
  public:
    // `thread` has to stay where it is until end().
    void begin(DumpThread* thread);
    LineVerdict read(std::string_view line, Place place);
    // Draws what follows from all lines together. Without effect when no thread is begun.
    void end(bool isHotSpot);

  private:
    LineVerdict readAttributes(std::string_view line);
    LineVerdict readFrame(std::string_view line, Place place);
    LineVerdict readLock(std::string_view line, Place place);
    std::vector<LockLine>* listOf(LockRelation relation) const;

    DumpThread* mThread = nullptr;
    bool mIsBlocked = false;  // HotSpot's Thread.State
    bool mHasLock = false;
    bool mBeginsWithWaitOn = false;  // the first line that names a lock is "- waiting on"
    bool mListsOwned = false;        // below "Locked ownable synchronizers:"
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DUMPTHREADLINES_H
