#include "analysis/graph/Ranking.h"

#include <algorithm>
#include <tuple>

namespace stallscope {

namespace {

// Finds for every thread the end that it reaches and the next step there. One end after another,
// so that a thread with several keeps the one that stands first, each breadth first.
class Router {
  public:
    explicit Router(const Adjacency& backward) : mBackward(backward), mWays(backward.size()) {}

    // Adds a chain from each thread that leads to the end and that nobody waits for.
    void route(int end, const int* vertices, size_t count, bool isReported,
               std::vector<Chain>* chains) {
        mOpen.assign(vertices, vertices + count);
        for (int vertex : mOpen) {
            mWays[vertex] = {kNone, kNone, end, 1};
        }
        size_t next = 0;
        while (next < mOpen.size()) {  // visiting adds to it
            int vertex = mOpen[next++];
            visitWaiters(vertex, vertex, end);
        }
        if (isReported) {
            addChains(chains);
        }
    }

    void tell(std::vector<ThreadNode>* threads) const {
        for (size_t i = 0; i < threads->size(); ++i) {
            ThreadNode& node = (*threads)[i];
            node.nextWait = mWays[i].nextWait;
            node.nextThread = mWays[i].nextThread;
            node.end = mWays[i].end;
        }
    }

  private:
    // Apart from the threads, which are too large to be visited in any order.
    struct Way {
        int nextWait = kNone;
        int nextThread = kNone;
        int end = kNone;
        int length = 0;  // of the chain from here, in threads
    };

    // `target` is the thread that is reached through `vertex`: itself, or one of a pool's.
    void visitWaiters(int vertex, int target, int end) {
        for (const Adjacency::Step& step : mBackward.from(vertex)) {
            Way& way = mWays[step.vertex];
            if (way.end != kNone) {
                continue;
            }
            way = {step.wait, target, end, mWays[target].length + 1};
            if (mBackward.isPool(step.vertex)) {
                visitWaiters(step.vertex, target, end);
            } else {
                mOpen.push_back(step.vertex);
            }
        }
    }

    void addChains(std::vector<Chain>* chains) const {
        auto begin = static_cast<ptrdiff_t>(chains->size());
        for (int each : mOpen) {
            const Way& way = mWays[each];
            if (way.length > 1 && mBackward.from(each).size() == 0) {
                chains->push_back({each, way.end, std::min(way.length, Chain::kLongest),
                                   way.length > Chain::kLongest});
            }
        }
        std::sort(chains->begin() + begin, chains->end(), [](const Chain& a, const Chain& b) {
            return std::tie(b.length, a.first) < std::tie(a.length, b.first);
        });
    }

    const Adjacency& mBackward;
    std::vector<Way> mWays;  // by vertex
    std::vector<int> mOpen;
};

}  // namespace

void rankEnds(Findings* findings) {
    std::vector<RootBlocker>& blockers = findings->rootBlockers;
    for (RootBlocker& each : blockers) {
        each.isShort = each.longestWaitMs != kNoTime && each.longestWaitMs < findings->thresholdMs;
    }
    // Threads are numbered by pid and tid.
    std::sort(blockers.begin(), blockers.end(), [](const RootBlocker& a, const RootBlocker& b) {
        return std::tie(a.isShort, b.blockedThreads, b.blockedProcesses, b.longestWaitMs,
                        a.thread) <
               std::tie(b.isShort, a.blockedThreads, a.blockedProcesses, a.longestWaitMs, b.thread);
    });
    std::vector<Deadlock>& deadlocks = findings->deadlocks;
    std::sort(deadlocks.begin(), deadlocks.end(), [](const Deadlock& a, const Deadlock& b) {
        return std::tie(b.blockedThreads, b.blockedProcesses, a.members.front()) <
               std::tie(a.blockedThreads, a.blockedProcesses, b.members.front());
    });
    for (size_t i = 0; i < deadlocks.size(); ++i) {
        findings->ends.push_back({static_cast<int>(i), kNone});
    }
    for (size_t i = 0; i < blockers.size(); ++i) {
        findings->ends.push_back({kNone, static_cast<int>(i)});
    }
}

void findChains(const Adjacency& backward, Findings* findings) {
    Router router(backward);
    for (size_t i = 0; i < findings->ends.size(); ++i) {
        const End& end = findings->ends[i];
        if (end.deadlock == kNone) {
            const RootBlocker& blocker = findings->rootBlockers[end.rootBlocker];
            router.route(static_cast<int>(i), &blocker.thread, 1, !blocker.isShort,
                         &findings->chains);
        } else {
            const std::vector<int>& members = findings->deadlocks[end.deadlock].members;
            router.route(static_cast<int>(i), members.data(), members.size(), true,
                         &findings->chains);
        }
    }
    router.tell(&findings->threads);
}

}  // namespace stallscope
