#include "analysis/graph/Blocked.h"

#include <algorithm>

namespace stallscope {

namespace {

struct Blocked {
    uint64_t threads = 0;
    uint64_t processes = 0;
    int longestCall = kNone;
    int64_t longestMs = kNoTime;
    bool isProbable = false;
};

// Walks the graph backwards from an end. What was met is marked with the number of the walk, so
// that nothing has to be cleared between two of them.
class Counter {
  public:
    Counter(const Adjacency& backward, const Findings& findings)
          : mBackward(backward),
            mFindings(findings),
            mVertexMark(backward.size()),
            mVertexBase(backward.size()) {
        int pid = 0;
        for (const ThreadNode& each : findings.threads) {
            if (each.id.pid != pid || mProcessOf.empty()) {
                pid = each.id.pid;
                mProcessMark.push_back(0);
            }
            mProcessOf.push_back(static_cast<int>(mProcessMark.size()) - 1);
        }
        mProcessBase.resize(mProcessMark.size());
        noteWaits();
    }

    // What waits for a pool is the same for all of its threads, and may be thousands: it is walked
    // once, and the threads are counted from there.
    void setBase(int vertex) {
        ++mBaseNumber;
        mBase = {};
        ++mNumber;
        mIsBase = true;
        if (vertex != kNone) {
            mVertexBase[vertex] = mBaseNumber;
            mOpen.push_back(vertex);
            walk(&mBase);
        }
        mIsBase = false;
    }

    // The threads that reach one of `ends`, and their processes but for those of `ends`.
    Blocked count(const int* ends, size_t size) {
        ++mNumber;
        Blocked blocked = mBase;
        for (size_t i = 0; i < size; ++i) {
            mVertexMark[ends[i]] = mNumber;
            mOpen.push_back(ends[i]);
            int process = mProcessOf[ends[i]];
            if (mProcessBase[process] == mBaseNumber && mProcessMark[process] != mNumber) {
                --blocked.processes;  // its own, which the base has counted
            }
            mProcessMark[process] = mNumber;
        }
        walk(&blocked);
        return blocked;
    }

  private:
    // The longest call that a thread itself waits in.
    struct OwnCall {
        int64_t timeMs = kNoTime;
        int call = kNone;
    };

    // Once and in order, since walks come by a thread in any order and many times.
    void noteWaits() {
        for (const ThreadNode& each : mFindings.threads) {
            int call = each.waitingCall;
            mOwnCalls.push_back({call == kNone ? kNoTime : mFindings.calls[call].timeMs, call});
        }
        mHasDoubts = std::any_of(mFindings.waits.begin(), mFindings.waits.end(),
                                 [](const Wait& wait) { return wait.isDoubtful; });
    }

    void walk(Blocked* blocked) {
        while (!mOpen.empty()) {
            int vertex = mOpen.back();
            mOpen.pop_back();
            for (const Adjacency::Step& step : mBackward.from(vertex)) {
                if (mHasDoubts && step.wait != kNone && mFindings.waits[step.wait].isDoubtful) {
                    blocked->isProbable = true;
                }
                if (enter(step.vertex)) {
                    mOpen.push_back(step.vertex);
                    if (!mBackward.isPool(step.vertex)) {
                        add(step.vertex, blocked);
                    }
                }
            }
        }
    }

    // True the first time that the walk comes to the vertex.
    bool enter(int vertex) {
        if (mVertexBase[vertex] == mBaseNumber || mVertexMark[vertex] == mNumber) {
            return false;
        }
        (mIsBase ? mVertexBase[vertex] : mVertexMark[vertex]) = mIsBase ? mBaseNumber : mNumber;
        return true;
    }

    void add(int thread, Blocked* blocked) {
        ++blocked->threads;
        int process = mProcessOf[thread];
        if (mProcessBase[process] != mBaseNumber && mProcessMark[process] != mNumber) {
            (mIsBase ? mProcessBase[process] : mProcessMark[process]) =
                    mIsBase ? mBaseNumber : mNumber;
            ++blocked->processes;
        }
        if (mOwnCalls[thread].timeMs > blocked->longestMs) {
            blocked->longestMs = mOwnCalls[thread].timeMs;
            blocked->longestCall = mOwnCalls[thread].call;
        }
    }

    const Adjacency& mBackward;
    const Findings& mFindings;
    std::vector<int> mProcessOf;  // of each thread
    std::vector<OwnCall> mOwnCalls;
    bool mHasDoubts = false;
    std::vector<uint32_t> mVertexMark;
    std::vector<uint32_t> mVertexBase;
    std::vector<uint32_t> mProcessMark;
    std::vector<uint32_t> mProcessBase;
    uint32_t mNumber = 0;
    uint32_t mBaseNumber = 0;
    bool mIsBase = false;
    Blocked mBase;
    std::vector<int> mOpen;
};

// A pool that the thread is in and that somebody waits for; kNone if there is none.
int poolAbove(const Adjacency& backward, int thread) {
    for (const Adjacency::Step& step : backward.from(thread)) {
        if (backward.isPool(step.vertex)) {
            return step.vertex;
        }
    }
    return kNone;
}

}  // namespace

void countBlocked(const Adjacency& backward, Findings* findings) {
    struct Candidate {
        int pool = kNone;
        int thread = kNone;
    };
    std::vector<Candidate> candidates;
    for (size_t i = 0; i < findings->threads.size(); ++i) {
        if (findings->threads[i].waits.empty()) {
            candidates.push_back({poolAbove(backward, static_cast<int>(i)), static_cast<int>(i)});
        }
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.pool < b.pool; });
    Counter counter(backward, *findings);
    counter.setBase(kNone);
    int base = kNone;
    for (const Candidate& each : candidates) {
        if (each.pool != base) {
            base = each.pool;
            counter.setBase(base);
        }
        Blocked blocked = counter.count(&each.thread, 1);
        findings->rootBlockers.push_back({each.thread, blocked.threads, blocked.processes,
                                          blocked.longestMs, blocked.longestCall,
                                          blocked.isProbable, false});
    }
    counter.setBase(kNone);
    for (Deadlock& each : findings->deadlocks) {
        Blocked blocked = counter.count(each.members.data(), each.members.size());
        each.blockedThreads = blocked.threads;
        each.blockedProcesses = blocked.processes;
    }
}

}  // namespace stallscope
