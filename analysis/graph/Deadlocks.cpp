#include "analysis/graph/Deadlocks.h"

#include <algorithm>

#include "analysis/graph/Components.h"

namespace stallscope {

namespace {

// For each component: no edge leaves it.
std::vector<bool> findClosed(const Adjacency& graph, const Components& components) {
    std::vector<bool> isClosed(components.count, true);
    for (int vertex = 0; vertex < graph.size(); ++vertex) {
        for (const Adjacency::Step& step : graph.from(vertex)) {
            if (components.of[step.vertex] != components.of[vertex]) {
                isClosed[components.of[vertex]] = false;
            }
        }
    }
    return isClosed;
}

// The threads that are reached from the first, depth first: along the cycle, if it is one.
std::vector<int> walk(const Adjacency& graph, int first, std::vector<bool>* isVisited) {
    std::vector<int> members;
    std::vector<int> open = {first};
    while (!open.empty()) {
        int vertex = open.back();
        open.pop_back();
        if ((*isVisited)[vertex]) {
            continue;
        }
        (*isVisited)[vertex] = true;
        if (!graph.isPool(vertex)) {
            members.push_back(vertex);
        }
        auto begin = static_cast<ptrdiff_t>(open.size());
        for (const Adjacency::Step& step : graph.from(vertex)) {
            open.push_back(step.vertex);
        }
        std::sort(open.begin() + begin, open.end(), std::greater<>());  // the smallest on top
    }
    return members;
}

DeadlockKind kindOf(const Findings& findings, const std::vector<int>& waits) {
    auto has = [&](EdgeType type) {
        return std::any_of(waits.begin(), waits.end(),
                           [&](int wait) { return findings.waits[wait].type == type; });
    };
    if (has(EdgeType::kQueued)) {
        return DeadlockKind::kPool;
    }
    if (!has(EdgeType::kLock)) {
        return DeadlockKind::kCalls;
    }
    return has(EdgeType::kServed) ? DeadlockKind::kMixed : DeadlockKind::kLocks;
}

}  // namespace

void findDeadlocks(const Adjacency& forward, Findings* findings) {
    Components components = findComponents(forward);
    std::vector<bool> isClosed = findClosed(forward, components);
    std::vector<bool> isVisited(forward.size());
    // In the order of the threads, so that each is met first at its smallest member. One without
    // waits is no deadlock but an end.
    for (size_t i = 0; i < findings->threads.size(); ++i) {
        int thread = static_cast<int>(i);
        if (!isClosed[components.of[thread]] || isVisited[thread] ||
            findings->threads[thread].waits.empty()) {
            continue;
        }
        Deadlock& deadlock = findings->deadlocks.emplace_back();
        deadlock.members = walk(forward, thread, &isVisited);
        for (int member : deadlock.members) {
            IndexRange waits = findings->threads[member].waits;
            for (uint32_t wait = waits.begin; wait < waits.end; ++wait) {
                deadlock.waits.push_back(static_cast<int>(wait));
                deadlock.isProbable = deadlock.isProbable || findings->waits[wait].isDoubtful;
            }
        }
        deadlock.kind = kindOf(*findings, deadlock.waits);
    }
}

}  // namespace stallscope
