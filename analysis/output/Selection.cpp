#include "analysis/output/Selection.h"

#include <algorithm>
#include <tuple>

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

// Where a thread stands in the queue for a place in the picture.
struct Claim {
    size_t round = 0;  // kEachRound threads of each end come before more of any
    int end = 0;
    int distance = 0;
    int thread = 0;

    bool operator<(const Claim& other) const {
        return std::tie(round, end, distance, thread) <
               std::tie(other.round, other.end, other.distance, other.thread);
    }
};

constexpr size_t kEachRound = 20;

// Sorted. Whatever comes before a thread on its way to the end also comes before it here.
std::vector<Claim> claims(const Findings& findings) {
    std::vector<int> distances = distancesToEnd(findings);
    std::vector<Claim> all;
    for (size_t i = 0; i < findings.threads.size(); ++i) {
        if (isReported(findings, findings.threads[i])) {
            all.push_back({0, findings.threads[i].end, distances[i], static_cast<int>(i)});
        }
    }
    std::sort(all.begin(), all.end());
    size_t first = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        first = all[i].end == all[first].end ? first : i;
        all[i].round = all[i].distance == 0 ? 0 : (i - first) / kEachRound;
    }
    std::sort(all.begin(), all.end());
    return all;
}

}  // namespace

Selection selectThreads(const Findings& findings, size_t most) {
    Selection selection;
    std::vector<Claim> all = claims(findings);
    size_t shown = std::min(all.size(), most);
    selection.leftOut = all.size() - shown;
    for (size_t i = 0; i < shown; ++i) {
        selection.threads.push_back(all[i].thread);
    }
    std::sort(selection.threads.begin(), selection.threads.end());
    selection.indices.assign(findings.threads.size(), kNone);
    for (size_t i = 0; i < shown; ++i) {
        selection.indices[selection.threads[i]] = static_cast<int>(i);
    }
    return selection;
}

}  // namespace stallscope
