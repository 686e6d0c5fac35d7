#include "analysis/graph/Movements.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "analysis/graph/CallTable.h"
#include "analysis/graph/Queues.h"

namespace stallscope {

namespace {

bool isSameCall(const TransactionLine& first, const TransactionLine& second) {
    if (first.hasDebugId() || second.hasDebugId()) {
        return first.debugId == second.debugId;
    }
    // The vendor's form has no ids. The same call, seen later, has taken longer.
    return first.from == second.from && first.to.pid == second.to.pid &&
           first.code == second.code && first.timeMs <= second.timeMs;
}

// What the later look shows of threads.
class SecondLook {
  public:
    explicit SecondLook(const Snapshot& snapshot) : mIsComplete(snapshot.isComplete()) {
        if (snapshot.log) {
            for (const BinderThread& each : snapshot.log->threads) {
                if (!each.frames.empty()) {
                    mTops.emplace(snapshot.log->idOf(each),
                                  &snapshot.log->frames[each.frames.begin]);
                }
            }
        }
        for (const ThreadDump& dump : snapshot.dumps) {
            for (const DumpThread& each : dump.threads) {
                if (dump.isOfLogsMoment && dump.flavour != DumpFlavour::kNative) {
                    mLocks[{dump.pid, each.sysTid}] =
                            each.waitsToLock ? each.waitsToLock->object : std::string_view();
                }
            }
        }
    }

    Movement ofCalls(ThreadId id, const std::vector<const TransactionLine*>& tops) const {
        auto [begin, end] = mTops.equal_range(id);
        for (auto each = begin; each != end; ++each) {
            const TransactionLine& later = *each->second;
            if (std::any_of(tops.begin(), tops.end(), [&later](const TransactionLine* top) {
                    return isSameCall(*top, later);
                })) {
                return Movement::kStuck;
            }
        }
        // A log that was cut short may have lost the thread.
        return begin != end || mIsComplete ? Movement::kBusy : Movement::kUnknown;
    }

    Movement ofLock(ThreadId id, std::string_view object) const {
        auto found = mLocks.find(id);
        if (found == mLocks.end()) {
            return Movement::kUnknown;
        }
        return found->second == object ? Movement::kStuck : Movement::kBusy;
    }

  private:
    bool mIsComplete;
    std::unordered_multimap<ThreadId, const TransactionLine*, ThreadIdHash> mTops;
    std::unordered_map<ThreadId, std::string_view, ThreadIdHash> mLocks;
};

Movement movementOf(const BinderLog& log, const Findings& findings, const ThreadNode& node,
                    const SecondLook& second) {
    std::vector<const TransactionLine*> tops;
    for (uint32_t i = node.stacks.begin; i < node.stacks.end; ++i) {
        const BinderThread& thread = log.threads[findings.stacks[i]];
        if (!thread.frames.empty()) {
            tops.push_back(&log.frames[thread.frames.begin]);
        }
    }
    bool waitsForLock =
            !node.waits.empty() && findings.waits[node.waits.begin].type == EdgeType::kLock;
    if (waitsForLock) {
        return second.ofLock(node.id, findings.waits[node.waits.begin].lock->object);
    }
    return tops.empty() ? Movement::kUnknown : second.ofCalls(node.id, tops);
}

// Of a thread without calls of its own only those who wait for it can tell.
void askWaiters(Findings* findings) {
    std::vector<Movement> told(findings->threads.size(), Movement::kUnknown);
    for (const Wait& wait : findings->waits) {
        Movement movement = findings->threads[wait.thread].movement;
        size_t count = 0;
        const int* targets = findings->targetsOf(wait, &count);
        for (size_t i = 0; i < count && movement != Movement::kUnknown; ++i) {
            Movement& known = told[targets[i]];
            known = known == Movement::kStuck ? known : movement;
        }
    }
    for (size_t i = 0; i < told.size(); ++i) {
        Movement& movement = findings->threads[i].movement;
        movement = movement == Movement::kUnknown ? told[i] : movement;
    }
}

void findPoolMovements(const Snapshot& second, Findings* findings) {
    if (!second.log) {
        return;
    }
    CallTable table = joinCalls(*second.log);
    Findings later;
    later.calls = std::move(table.calls);
    findExhaustedPools(*second.log, table, &later);
    std::map<int, const ExhaustedPool*> pools;
    for (const ExhaustedPool& each : later.exhaustedPools) {
        pools[each.pid] = &each;
    }
    auto isSame = [](const Call& a, const Call& b) {
        return a.debugId == b.debugId && (a.debugId != kNoDebugId || a.from == b.from);
    };
    for (ExhaustedPool& each : findings->exhaustedPools) {
        auto found = pools.find(each.pid);
        bool isStuck = found != pools.end() &&
                       std::any_of(each.calls.begin(), each.calls.end(), [&](int call) {
                           const std::vector<int>& calls = found->second->calls;
                           return std::any_of(calls.begin(), calls.end(), [&](int other) {
                               return isSame(findings->calls[call], later.calls[other]);
                           });
                       });
        each.movement = isStuck               ? Movement::kStuck
                        : second.isComplete() ? Movement::kBusy
                                              : Movement::kUnknown;
    }
}

}  // namespace

void findMovements(const BinderLog& first, const Snapshot& second, Findings* findings) {
    findings->isSecondLook = true;
    SecondLook look(second);
    for (ThreadNode& each : findings->threads) {
        each.movement = movementOf(first, *findings, each, look);
    }
    askWaiters(findings);
    findPoolMovements(second, findings);
}

}  // namespace stallscope
