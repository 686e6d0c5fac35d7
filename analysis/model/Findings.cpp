#include "analysis/model/Findings.h"

#include <algorithm>

namespace stallscope {

std::string_view nameOf(EdgeType type) {
    switch (type) {
        case EdgeType::kServed:
            return "served";
        case EdgeType::kQueued:
            return "queued";
        case EdgeType::kLock:
            return "lock";
    }
    return {};
}

std::string_view nameOf(DeadlockKind kind) {
    switch (kind) {
        case DeadlockKind::kCalls:
            return "calls";
        case DeadlockKind::kLocks:
            return "locks";
        case DeadlockKind::kPool:
            return "pool";
        case DeadlockKind::kMixed:
            return "mixed";
    }
    return {};
}

std::string_view nameOf(Movement movement) {
    switch (movement) {
        case Movement::kUnknown:
            return "unknown";
        case Movement::kStuck:
            return "stuck";
        case Movement::kBusy:
            return "busy";
    }
    return {};
}

bool Findings::isAnybodyStuck() const {
    auto isStuck = [this](const RootBlocker& each) {
        return !each.isShort && threads[each.thread].movement != Movement::kBusy;
    };
    auto isDry = [](const ExhaustedPool& each) {
        return !each.isShort && each.movement != Movement::kBusy;
    };
    return !deadlocks.empty() || std::any_of(rootBlockers.begin(), rootBlockers.end(), isStuck) ||
           std::any_of(exhaustedPools.begin(), exhaustedPools.end(), isDry);
}

std::vector<int> Findings::threadsOf(const Chain& chain) const {
    std::vector<int> members;
    members.reserve(chain.length);
    for (int each = chain.first; members.size() < static_cast<size_t>(chain.length);
         each = threads[each].nextThread) {
        members.push_back(each);
    }
    return members;
}

const int* Findings::targetsOf(const Wait& wait, size_t* count) const {
    if (wait.pool == kNone) {
        *count = 1;
        return &wait.target;
    }
    const std::vector<int>& members = pools[wait.pool].threads;
    *count = members.size();
    return members.data();
}

}  // namespace stallscope
