#include "analysis/graph/Adjacency.h"

namespace stallscope {

namespace {

// Calls visit(from, to, wait) for each edge.
template <typename Visit>
void visitEdges(const Findings& findings, Visit visit) {
    int threads = static_cast<int>(findings.threads.size());
    for (size_t i = 0; i < findings.waits.size(); ++i) {
        const Wait& wait = findings.waits[i];
        visit(wait.thread, wait.pool == kNone ? wait.target : threads + wait.pool,
              static_cast<int>(i));
    }
    for (size_t i = 0; i < findings.pools.size(); ++i) {
        for (int member : findings.pools[i].threads) {
            visit(threads + static_cast<int>(i), member, kNone);
        }
    }
}

}  // namespace

Adjacency::Adjacency(const Findings& findings, bool isForward)
      : mThreads(static_cast<int>(findings.threads.size())),
        mOffsets(findings.threads.size() + findings.pools.size() + 1) {
    visitEdges(findings, [&](int from, int to, int) { ++mOffsets[(isForward ? from : to) + 1]; });
    for (size_t i = 1; i < mOffsets.size(); ++i) {
        mOffsets[i] += mOffsets[i - 1];
    }
    mSteps.resize(mOffsets.back());
    std::vector<uint32_t> next(mOffsets.begin(), mOffsets.end() - 1);
    visitEdges(findings, [&](int from, int to, int wait) {
        mSteps[next[isForward ? from : to]++] = {isForward ? to : from, wait};
    });
}

}  // namespace stallscope
