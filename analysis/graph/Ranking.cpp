#include "analysis/graph/Ranking.h"

#include <algorithm>
#include <tuple>

namespace stallscope {

namespace {

// Gives every thread that reaches an end the next step there. One end after another, so that a
// thread with several keeps the one that stands first, each breadth first.
class Router {
  public:
    Router(const Adjacency& backward, Findings* findings)
          : mBackward(backward), mFindings(findings), mIsVisited(backward.size()) {}

    void route(int end, const std::vector<int>& vertices) {
        mOpen.clear();
        for (int vertex : vertices) {
            mIsVisited[vertex] = true;
            mFindings->threads[vertex].end = end;
            mOpen.push_back(vertex);
        }
        for (size_t i = 0; i < mOpen.size(); ++i) {
            visitWaiters(mOpen[i], mOpen[i], end);
        }
    }

  private:
    // `target` is the thread that is reached through `vertex`: itself, or one of a pool's.
    void visitWaiters(int vertex, int target, int end) {
        for (const Adjacency::Step& step : mBackward.from(vertex)) {
            if (mIsVisited[step.vertex]) {
                continue;
            }
            mIsVisited[step.vertex] = true;
            if (mBackward.isPool(step.vertex)) {
                visitWaiters(step.vertex, target, end);
                continue;
            }
            ThreadNode& node = mFindings->threads[step.vertex];
            node.nextWait = step.wait;
            node.nextThread = target;
            node.end = end;
            mOpen.push_back(step.vertex);
        }
    }

    const Adjacency& mBackward;
    Findings* mFindings;
    std::vector<bool> mIsVisited;
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

Chain chainFrom(const Findings& findings, int first) {
    Chain chain;
    chain.end = findings.threads[first].end;
    for (int each = first; each != kNone; each = findings.threads[each].nextThread) {
        if (chain.threads.size() == Chain::kLongest) {
            chain.isCut = true;
            break;
        }
        chain.threads.push_back(each);
    }
    return chain;
}

void findChains(const Adjacency& backward, Findings* findings) {
    Router router(backward, findings);
    for (size_t i = 0; i < findings->ends.size(); ++i) {
        const End& end = findings->ends[i];
        router.route(static_cast<int>(i),
                     end.deadlock == kNone
                             ? std::vector<int>{findings->rootBlockers[end.rootBlocker].thread}
                             : findings->deadlocks[end.deadlock].members);
    }
    for (size_t i = 0; i < findings->threads.size(); ++i) {
        int thread = static_cast<int>(i);
        int end = findings->threads[i].end;
        bool isFirst =
                findings->threads[i].nextThread != kNone && backward.from(thread).size() == 0;
        bool isShort = isFirst && findings->ends[end].rootBlocker != kNone &&
                       findings->rootBlockers[findings->ends[end].rootBlocker].isShort;
        if (isFirst && !isShort) {
            findings->chains.push_back(chainFrom(*findings, thread));
        }
    }
    std::stable_sort(
            findings->chains.begin(), findings->chains.end(), [](const Chain& a, const Chain& b) {
                return a.end != b.end ? a.end < b.end : a.threads.size() > b.threads.size();
            });
}

}  // namespace stallscope
