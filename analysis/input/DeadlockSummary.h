#ifndef STALLSCOPE_ANALYSIS_INPUT_DEADLOCKSUMMARY_H
#define STALLSCOPE_ANALYSIS_INPUT_DEADLOCKSUMMARY_H

#include <string_view>
#include <vector>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// HotSpot's "Found one Java-level deadlock:", which repeats threads of the dump above it. Only one
// thing in it is new: who owns a synchronizer of java.util.concurrent, which the threads themselves
// print with -l alone.
class DeadlockSummary {
  public:
    static bool isHeading(std::string_view line);

    // `line` is without the blanks around it. True when something of it is kept.
    bool read(std::string_view line, Place place);
    // True behind "Found 2 deadlocks.": what follows is no part of it.
    bool isOver() const { return mIsOver; }
    // Gives the owners what they own, as far as their names leave no doubt, and forgets all.
    void apply(ThreadDump* dump);

  private:
    struct Entry {
        std::string_view waiter;
        std::string_view owner;
        LockLine lock;
    };

    class Owners;

    std::vector<Entry> mEntries;
    std::string_view mWaiter;
    LockLine mLock;
    bool mHasStacks = false;  // below "Java stack information for the threads listed above:"
    bool mIsOver = false;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DEADLOCKSUMMARY_H
