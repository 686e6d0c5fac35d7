#include "analysis/graph/Narrowing.h"

#include <algorithm>

#include "analysis/graph/Adjacency.h"

namespace stallscope {

namespace {

// The vertices that the process's threads are or lead to.
std::vector<bool> findReached(int pid, const Findings& findings) {
    Adjacency forward = Adjacency::forward(findings);
    std::vector<bool> isReached(forward.size());
    std::vector<int> open;
    for (size_t i = 0; i < findings.threads.size(); ++i) {
        if (findings.threads[i].id.pid == pid) {
            isReached[i] = true;
            open.push_back(static_cast<int>(i));
        }
    }
    while (!open.empty()) {
        int vertex = open.back();
        open.pop_back();
        for (const Adjacency::Step& step : forward.from(vertex)) {
            if (!isReached[step.vertex]) {
                isReached[step.vertex] = true;
                open.push_back(step.vertex);
            }
        }
    }
    return isReached;
}

template <typename Item, typename IsKept>
void keep(std::vector<Item>* items, IsKept isKept) {
    items->erase(std::remove_if(items->begin(), items->end(),
                                [&](const Item& each) { return !isKept(each); }),
                 items->end());
}

bool isReachedEnd(const Findings& findings, const End& end, const std::vector<bool>& isReached) {
    if (end.rootBlocker != kNone) {
        return isReached[findings.rootBlockers[end.rootBlocker].thread];
    }
    const std::vector<int>& members = findings.deadlocks[end.deadlock].members;
    return std::any_of(members.begin(), members.end(),
                       [&](int member) { return isReached[member]; });
}

// Drops the ends that are not reached, and numbers the others anew.
void keepEnds(const std::vector<bool>& isReached, Findings* findings) {
    std::vector<End> ends;
    std::vector<Deadlock> deadlocks;
    std::vector<RootBlocker> blockers;
    std::vector<int> place(findings->ends.size(), kNone);
    for (size_t i = 0; i < place.size(); ++i) {
        const End& end = findings->ends[i];
        if (!isReachedEnd(*findings, end, isReached)) {
            continue;
        }
        place[i] = static_cast<int>(ends.size());
        if (end.rootBlocker != kNone) {
            ends.push_back({kNone, static_cast<int>(blockers.size())});
            blockers.push_back(findings->rootBlockers[end.rootBlocker]);
        } else {
            ends.push_back({static_cast<int>(deadlocks.size()), kNone});
            deadlocks.push_back(std::move(findings->deadlocks[end.deadlock]));
        }
    }
    for (ThreadNode& each : findings->threads) {
        each.end = each.end == kNone ? kNone : place[each.end];
    }
    findings->ends = std::move(ends);
    findings->deadlocks = std::move(deadlocks);
    findings->rootBlockers = std::move(blockers);
}

bool isShort(const Findings& findings, int end) {
    int blocker = findings.ends[end].rootBlocker;
    return blocker != kNone && findings.rootBlockers[blocker].isShort;
}

Chain chainFrom(const Findings& findings, int first) {
    Chain chain;
    chain.first = first;
    chain.end = findings.threads[first].end;
    int each = first;
    for (; each != kNone && chain.length < Chain::kLongest;
         each = findings.threads[each].nextThread) {
        ++chain.length;
    }
    chain.isCut = each != kNone;
    return chain;
}

// One from each thread of the process that waits, unless it is on another's.
void findChains(int pid, Findings* findings) {
    findings->chains.clear();
    std::vector<bool> isShown(findings->threads.size());
    for (size_t i = 0; i < findings->threads.size(); ++i) {
        const ThreadNode& node = findings->threads[i];
        if (node.id.pid != pid || node.nextThread == kNone || isShown[i]) {
            continue;
        }
        Chain chain = chainFrom(*findings, static_cast<int>(i));
        for (int each : findings->threadsOf(chain)) {
            isShown[each] = true;
        }
        if (chain.end != kNone && !isShort(*findings, chain.end)) {
            findings->chains.push_back(chain);
        }
    }
}

}  // namespace

void narrow(int pid, Findings* findings) {
    findings->pid = pid;
    keepEnds(findReached(pid, *findings), findings);
    keep(&findings->exhaustedPools, [&](const ExhaustedPool& each) {
        return each.pid == pid || std::any_of(each.calls.begin(), each.calls.end(), [&](int call) {
                   return findings->calls[call].from.pid == pid;
               });
    });
    keep(&findings->onewayBacklogs, [&](const OnewayBacklog& each) { return each.pid == pid; });
    findChains(pid, findings);
}

}  // namespace stallscope
