#include "analysis/graph/WaitGraph.h"

#include <algorithm>
#include <utility>

#include "analysis/graph/FlatIndex.h"
#include "analysis/graph/WaitCollector.h"
#include "analysis/input/ThreadDumpReader.h"

namespace stallscope {

namespace {

constexpr uint32_t kLooperWaits = 0x10;  // in the driver, waiting for work or for a reply

// Files what was collected by thread and by pool.
class Filer {
  public:
    Filer(const Snapshot& snapshot, const BinderLog& log, const CallTable& table,
          Findings* findings)
          : mSnapshot(snapshot), mLog(log), mTable(table), mFindings(findings) {}

    void file(WaitCollector collected) {
        fileThreads(collected.threads());
        filePools(collected.pools());
        fileWaits(collected.takeWaits());
        fileStacks(collected.numberHeaders());
        fileDumps(collected.threads());
        for (Wait& each : mFindings->waits) {
            each.isDoubtful = each.type == EdgeType::kLock && isDoubtful(each);
        }
    }

  private:
    void fileThreads(const FlatIndex& threads) {
        const std::vector<uint64_t>& keys = threads.keys();
        std::vector<std::pair<uint64_t, int>> order;
        order.reserve(keys.size());
        for (uint64_t key : keys) {
            order.emplace_back(key, static_cast<int>(order.size()));
        }
        std::sort(order.begin(), order.end());
        mThread.resize(keys.size());
        mFindings->threads.resize(keys.size());
        for (size_t i = 0; i < order.size(); ++i) {
            mThread[order[i].second] = static_cast<int>(i);
            ThreadNode& node = mFindings->threads[i];
            node.id = idOfKey(order[i].first);
            node.process = mSnapshot.names.ofProcess(node.id.pid);
            node.name = mSnapshot.names.ofThread(node.id);
        }
    }

    void filePools(const std::vector<WaitCollector::RawPool>& pools) {
        for (const WaitCollector::RawPool& each : pools) {
            Pool& pool = mFindings->pools.emplace_back();
            pool.pid = each.pid;
            pool.context = mLog.contexts[each.context];
            for (int member : each.members) {
                pool.threads.push_back(mThread[member]);
            }
            std::sort(pool.threads.begin(), pool.threads.end());
            auto end = std::unique(pool.threads.begin(), pool.threads.end());
            pool.threads.erase(end, pool.threads.end());
        }
    }

    void fileWaits(std::vector<Wait> waits) {
        std::vector<uint64_t> order;  // by thread, each with the wait's place behind it
        order.reserve(waits.size());
        for (Wait& each : waits) {
            each.thread = mThread[each.thread];
            each.target = each.target == kNone ? kNone : mThread[each.target];
            order.push_back(static_cast<uint64_t>(each.thread) << 32 | order.size());
        }
        std::sort(order.begin(), order.end());
        mFindings->waits.reserve(waits.size());
        for (uint64_t place : order) {
            const Wait& wait = waits[static_cast<uint32_t>(place)];
            IndexRange& range = mFindings->threads[wait.thread].waits;
            if (range.empty()) {
                range.begin = range.end = static_cast<uint32_t>(mFindings->waits.size());
            }
            if (!isKnown(wait, range)) {
                mFindings->waits.push_back(wait);
                ++range.end;
            }
        }
    }

    // Several dumps of one process may tell of the same lock.
    bool isKnown(const Wait& wait, IndexRange range) const {
        auto begin = mFindings->waits.begin() + range.begin;
        return std::any_of(begin, begin + range.size(), [&wait](const Wait& each) {
            return each.type == wait.type && each.target == wait.target && each.pool == wait.pool &&
                   each.call == wait.call;
        });
    }

    // `nodes`: by header, the number that its thread was collected under.
    void fileStacks(std::vector<int> nodes) {
        for (int& each : nodes) {
            if (each != kNone) {
                each = mThread[each];
                ++mFindings->threads[each].stacks.end;
            }
        }
        uint32_t next = 0;
        for (ThreadNode& each : mFindings->threads) {
            uint32_t count = each.stacks.end;
            each.stacks = {next, next};
            next += count;
        }
        mFindings->stacks.resize(next);
        for (size_t i = 0; i < nodes.size(); ++i) {
            if (nodes[i] != kNone) {
                fileStack(static_cast<uint32_t>(i), &mFindings->threads[nodes[i]]);
            }
        }
    }

    // To be parked is no wait, however long.
    static bool isLonger(const Call& call, const Call& other) {
        return call.code != kParkedCode &&
               (other.code == kParkedCode || call.timeMs > other.timeMs);
    }

    void fileStack(uint32_t header, ThreadNode* node) {
        mFindings->stacks[node->stacks.end++] = header;
        const BinderThread& thread = mLog.threads[header];
        if (thread.frames.empty()) {
            return;
        }
        int top = mTable.ofFrame[thread.frames.begin];
        const std::vector<Call>& calls = mFindings->calls;
        if (waitingCallOf(mLog, thread) != nullptr) {
            int& longest = node->waitingCall;
            longest = longest == kNone || isLonger(calls[top], calls[longest]) ? top : longest;
        } else if (node->serving == kNone &&
                   mLog.frames[thread.frames.begin].kind == LineKind::kIncoming) {
            node->serving = top;
        }
    }

    void fileDumps(const FlatIndex& threads) {
        for (const ThreadDump& dump : mSnapshot.dumps) {
            for (const DumpThread& thread : dump.threads) {
                int number = threads.find(keyOf({dump.pid, thread.sysTid}));
                if (number != kNone && thread.sysTid > 0) {
                    fileDump(dump, thread, &mFindings->threads[mThread[number]]);
                }
            }
        }
    }

    // One of the log's moment is better than another, and one that knows of locks than a native
    // one.
    static void fileDump(const ThreadDump& dump, const DumpThread& thread, ThreadNode* node) {
        auto rank = [](const ThreadDump& each) {
            return (each.isOfLogsMoment ? 2 : 0) + (each.flavour == DumpFlavour::kNative ? 0 : 1);
        };
        if (node->dumpSection == nullptr || rank(*node->dumpSection) < rank(dump)) {
            node->dump = &thread;
            node->dumpSection = &dump;
        }
    }

    bool isDoubtful(const Wait& wait) const {
        int target = wait.target;
        return hasMovedOn(mFindings->threads[wait.thread], *wait.dump) ||
               isIdle(mFindings->threads[target]);
    }

    // True when the thread is in the pool without work by one of its stacks: it runs no code then.
    bool isIdle(const ThreadNode& node) const {
        for (uint32_t i = node.stacks.begin; i < node.stacks.end; ++i) {
            const BinderThread& thread = mLog.threads[mFindings->stacks[i]];
            if (thread.frames.empty() && (thread.looper & kLooperWaits) != 0) {
                return true;
            }
        }
        return false;
    }

    // True when the thread has no work by the log, or took it up after the dump.
    bool hasMovedOn(const ThreadNode& node, const ThreadDump& dump) const {
        if (isIdle(node)) {
            return true;
        }
        if (node.serving == kNone || !dump.moment || !mSnapshot.logMoment) {
            return false;
        }
        int64_t timeMs = mFindings->calls[node.serving].timeMs;
        return timeMs != kNoTime &&
               timeMs < secondsBetween(*dump.moment, *mSnapshot.logMoment) * 1000;
    }

    const Snapshot& mSnapshot;
    const BinderLog& mLog;
    const CallTable& mTable;
    Findings* mFindings;
    std::vector<int> mThread;  // the place in Findings::threads of each collected one
};

}  // namespace

void buildWaitGraph(const Snapshot& snapshot, const BinderLog& log, const CallTable& table,
                    Findings* findings) {
    Filer(snapshot, log, table, findings).file(WaitCollector(snapshot, log, table));
}

}  // namespace stallscope
