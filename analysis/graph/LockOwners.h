#ifndef STALLSCOPE_ANALYSIS_GRAPH_LOCKOWNERS_H
#define STALLSCOPE_ANALYSIS_GRAPH_LOCKOWNERS_H

#include <string_view>
#include <unordered_map>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// Who holds the locks of one dump, as far as it says so.
class LockOwners {
  public:
    explicit LockOwners(const ThreadDump& dump);

    // The thread that holds what `waiter`, which waits to lock something, waits for; null when the
    // dump does not say, or prints no kernel's number for it.
    const DumpThread* holderOf(const DumpThread& waiter) const;

  private:
    using ByText = std::unordered_map<std::string_view, const DumpThread*>;

    static const DumpThread* find(const ByText& index, std::string_view text);

    bool mIsHotSpot;
    std::unordered_map<int, const DumpThread*> mByDumpTid;
    ByText mByLocked;  // HotSpot alone: it names no holder
    ByText mByOwned;   // the owner of a java.util.concurrent synchronizer
    ByText mByName;    // null for a name that several threads have
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_LOCKOWNERS_H
