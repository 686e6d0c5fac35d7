#ifndef STALLSCOPE_ANALYSIS_GRAPH_WAITCOLLECTOR_H
#define STALLSCOPE_ANALYSIS_GRAPH_WAITCOLLECTOR_H

#include <optional>
#include <vector>

#include "analysis/graph/CallReceivers.h"
#include "analysis/graph/CallTable.h"
#include "analysis/graph/FlatIndex.h"
#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// The call that a thread waits in by this stack of it, at whatever end; null when it waits in none.
const TransactionLine* waitingCallOf(const BinderLog& log, const BinderThread& thread);

// What threads wait for, by the lines at the top of their stacks and by their dumps. Threads and
// pools are numbered as they come: that is what the waits refer to.
class WaitCollector {
  public:
    WaitCollector(const Snapshot& snapshot, const BinderLog& log, const CallTable& table);

    struct RawPool {
        int pid = 0;
        uint32_t context = 0;      // in BinderLog::contexts
        std::vector<int> members;  // threads' numbers, some perhaps twice
    };

    const FlatIndex& threads() const { return mThreads; }
    const std::vector<RawPool>& pools() const { return mPools; }
    std::vector<Wait> takeWaits() { return std::move(mWaits); }
    // The number of the thread of each of BinderLog::threads; kNone when it has none.
    std::vector<int> numberHeaders() const;

  private:
    void addCallWait(uint32_t header);
    void findReceiver(const TransactionLine& call, uint32_t context, Wait* wait);
    void addLockWaits(const ThreadDump& dump);
    void fillPools();
    void addMember(int pid, uint32_t context, int tid);
    int poolOf(int pid, uint32_t context);
    int numberOf(ThreadId id) { return mThreads.add(keyOf(id)); }

    const Snapshot& mSnapshot;
    const BinderLog& mLog;
    const CallTable& mTable;
    std::optional<CallReceivers> mReceivers;
    FlatIndex mThreads;
    FlatIndex mInCall;  // threads that wait in a call
    FlatIndex mPoolKeys;
    std::vector<RawPool> mPools;
    std::vector<Wait> mWaits;
    std::vector<int> mNumbers;  // by header, of those that wait
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_WAITCOLLECTOR_H
