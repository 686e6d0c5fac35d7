#include "analysis/graph/WaitCollector.h"

#include <unordered_map>

#include "analysis/graph/LockOwners.h"

namespace stallscope {

const TransactionLine* waitingCallOf(const BinderLog& log, const BinderThread& thread) {
    if (thread.frames.empty()) {
        return nullptr;
    }
    const TransactionLine& top = log.frames[thread.frames.begin];
    return top.kind == LineKind::kOutgoing && !top.isOneWay() ? &top : nullptr;
}

WaitCollector::WaitCollector(const Snapshot& snapshot, const BinderLog& log, const CallTable& table)
      : mSnapshot(snapshot),
        mLog(log),
        mTable(table),
        mThreads(log.threads.size() / 2),
        mNumbers(log.threads.size(), kNone) {
    for (uint32_t i = 0; i < log.threads.size(); ++i) {
        addCallWait(i);
    }
    for (const ThreadDump& each : snapshot.dumps) {
        if (each.isOfLogsMoment) {
            addLockWaits(each);
        }
    }
    if (!mPools.empty()) {
        fillPools();
    }
}

void WaitCollector::addCallWait(uint32_t header) {
    const BinderThread& thread = mLog.threads[header];
    const TransactionLine* call = waitingCallOf(mLog, thread);
    if (call == nullptr) {
        return;
    }
    ThreadId id = mLog.idOf(thread);
    if (!mSnapshot.dumps.empty()) {
        mInCall.add(keyOf(id));
    }
    if (call->code == kParkedCode || call->to.pid == 0) {
        return;
    }
    uint32_t context = mLog.sections[thread.section].context;
    Wait wait;
    wait.thread = mNumbers[header] = numberOf(id);
    wait.call = mTable.ofFrame[thread.frames.begin];
    if (call->to.tid > 0) {
        wait.target = numberOf(call->to);
    } else if (call->to.tid == 0) {
        wait.pool = poolOf(call->to.pid, context);
    } else {
        findReceiver(*call, context, &wait);
    }
    wait.type = wait.pool == kNone ? EdgeType::kServed : EdgeType::kQueued;
    mWaits.push_back(wait);
}

std::vector<int> WaitCollector::numberHeaders() const {
    std::vector<int> numbers = mNumbers;
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == kNone) {
            numbers[i] = mThreads.find(keyOf(mLog.idOf(mLog.threads[i])));
        }
    }
    return numbers;
}

void WaitCollector::findReceiver(const TransactionLine& call, uint32_t context, Wait* wait) {
    if (!mReceivers) {
        mReceivers.emplace(mLog);
    }
    int tid = mReceivers->find(call);
    if (tid > 0) {
        wait->target = numberOf({call.to.pid, tid});
    } else if (tid == 0) {
        wait->pool = poolOf(call.to.pid, context);
    } else {
        wait->target = numberOf({call.to.pid, 0});
    }
}

void WaitCollector::addLockWaits(const ThreadDump& dump) {
    LockOwners owners(dump);
    for (const DumpThread& thread : dump.threads) {
        ThreadId id = {dump.pid, thread.sysTid};
        if (thread.sysTid <= 0 || !thread.waitsToLock || mInCall.find(keyOf(id)) != kNone) {
            continue;
        }
        if (const DumpThread* holder = owners.holderOf(thread)) {
            Wait wait;
            wait.type = EdgeType::kLock;
            wait.thread = numberOf(id);
            wait.target = numberOf({dump.pid, holder->sysTid});
            wait.lock = &*thread.waitsToLock;
            wait.holder = holder;
            wait.dump = &dump;
            mWaits.push_back(wait);
        }
    }
}

int WaitCollector::poolOf(int pid, uint32_t context) {
    int number = mPoolKeys.add(keyOf({pid, static_cast<int>(context)}));
    if (static_cast<size_t>(number) == mPools.size()) {
        mPools.push_back({pid, context, {}});
    }
    return number;
}

void WaitCollector::fillPools() {
    for (const BinderThread& each : mLog.threads) {
        if (each.isPoolThread()) {
            addMember(mLog.pidOf(each), mLog.sections[each.section].context, each.tid);
        }
    }
    std::unordered_map<std::string_view, uint32_t> contexts;
    for (const std::string& each : mLog.contexts) {
        contexts.try_emplace(each, static_cast<uint32_t>(contexts.size()));
    }
    for (const PoolThread& each : mSnapshot.poolThreads) {
        if (auto context = contexts.find(each.context); context != contexts.end()) {
            addMember(each.id.pid, context->second, each.id.tid);
        }
    }
    for (RawPool& each : mPools) {
        if (each.members.empty()) {
            each.members.push_back(numberOf({each.pid, 0}));
        }
    }
}

void WaitCollector::addMember(int pid, uint32_t context, int tid) {
    int pool = mPoolKeys.find(keyOf({pid, static_cast<int>(context)}));
    if (pool != kNone) {
        mPools[pool].members.push_back(numberOf({pid, tid}));
    }
}

}  // namespace stallscope
