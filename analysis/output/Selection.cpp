#include "analysis/output/Selection.h"

#include <algorithm>
#include <numeric>

namespace stallscope {

namespace {

constexpr int kUnknown = -1;

bool isReported(const Findings& findings, const ThreadNode& thread) {
    if (thread.end == kNone) {
        return false;
    }
    const End& end = findings.ends[thread.end];
    return end.rootBlocker == kNone || !findings.rootBlockers[end.rootBlocker].isShort;
}

// The number of steps along nextThread from each thread to its end.
std::vector<int> distancesToEnd(const Findings& findings) {
    std::vector<int> distances(findings.threads.size(), kUnknown);
    for (const Deadlock& deadlock : findings.deadlocks) {
        for (int member : deadlock.members) {
            distances[member] = 0;
        }
    }
    std::vector<int> way;
    for (size_t start = 0; start < distances.size(); ++start) {
        int at = static_cast<int>(start);
        while (at != kNone && distances[at] == kUnknown) {
            distances[at] = 0;
            way.push_back(at);
            at = findings.threads[at].nextThread;
        }
        for (int steps = at == kNone ? 0 : distances[at] + 1; !way.empty(); ++steps) {
            distances[way.back()] = steps;
            way.pop_back();
        }
    }
    return distances;
}

}  // namespace

Selection selectThreads(const Findings& findings, size_t most) {
    Selection selection;
    std::vector<int> distances = distancesToEnd(findings);
    std::vector<int>& threads = selection.threads;
    for (size_t i = 0; i < findings.threads.size(); ++i) {
        if (isReported(findings, findings.threads[i])) {
            threads.push_back(static_cast<int>(i));
        }
    }
    std::stable_sort(threads.begin(), threads.end(), [&](int a, int b) {
        return distances[a] != distances[b] ? distances[a] < distances[b]
                                            : findings.threads[a].end < findings.threads[b].end;
    });
    size_t ends = std::count_if(threads.begin(), threads.end(),
                                [&distances](int each) { return distances[each] == 0; });
    size_t shown = std::min(threads.size(), std::max(most, ends));
    selection.leftOut = threads.size() - shown;
    threads.resize(shown);
    std::sort(threads.begin(), threads.end());

    selection.indices.assign(findings.threads.size(), kNone);
    for (size_t i = 0; i < threads.size(); ++i) {
        selection.indices[threads[i]] = static_cast<int>(i);
    }
    return selection;
}

}  // namespace stallscope
