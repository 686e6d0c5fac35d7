#include "analysis/graph/CallReceivers.h"

#include <algorithm>
#include <tuple>

namespace stallscope {

CallReceivers::CallReceivers(const BinderLog& log) {
    for (const BinderThread& thread : log.threads) {
        for (uint32_t i = thread.frames.begin; i < thread.frames.end; ++i) {
            if (log.frames[i].kind == LineKind::kIncoming) {
                mReceivers.push_back({log.frames[i].debugId, log.pidOf(thread), thread.tid});
            }
        }
    }
    for (const PendingCall& each : log.pending) {
        mReceivers.push_back({each.call.debugId, log.sections[each.section].pid, 0});
    }
    std::stable_sort(mReceivers.begin(), mReceivers.end(), isBefore);
}

int CallReceivers::find(const TransactionLine& outgoing) const {
    Receiver wanted = {outgoing.debugId, outgoing.to.pid, 0};
    auto found = std::lower_bound(mReceivers.begin(), mReceivers.end(), wanted, isBefore);
    bool isFound = found != mReceivers.end() && !isBefore(wanted, *found);
    return isFound ? found->tid : kNoTid;
}

bool CallReceivers::isBefore(const Receiver& a, const Receiver& b) {
    return std::tie(a.debugId, a.pid) < std::tie(b.debugId, b.pid);
}

}  // namespace stallscope
