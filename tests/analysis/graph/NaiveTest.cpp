#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "tests/analysis/graph/Describe.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

using Id = std::pair<int, int>;
using Edges = std::set<std::pair<Id, Id>>;

std::string textOf(Id id) {
    return std::to_string(id.first) + ":" + std::to_string(id.second);
}

// A small log and its wait edges, both straight from the same choices.
struct Choice {
    std::string log;
    Edges edges;
};

Choice choose(std::mt19937* random) {
    auto below = [&](int bound) { return static_cast<int>((*random)() % bound); };
    Choice choice;
    std::map<int, std::set<Id>> pools;
    std::vector<Id> threads;
    int processes = 1 + below(4);
    for (int pid = 1; pid <= processes; ++pid) {
        for (int tid = pid * 10; tid < pid * 10 + 1 + below(4); ++tid) {
            threads.emplace_back(pid, tid);
        }
    }
    std::map<Id, std::string> lines;
    std::vector<std::pair<Id, int>> queued;
    for (Id each : threads) {
        Id target = threads[below(static_cast<int>(threads.size()))];
        bool isPoolThread = below(3) > 0;
        if (isPoolThread) {
            pools[each.first].insert(each);
        }
        lines[each] = thread(each.second, isPoolThread ? "01" : "10");
        if (below(4) == 0) {
            continue;
        }
        bool isQueued = below(2) == 0;
        Id printed = {target.first, isQueued ? 0 : target.second};
        lines[each] += out(each.second, textOf(each), textOf(printed), -1);
        if (isQueued) {
            queued.emplace_back(each, target.first);
        } else {
            choice.edges.emplace(each, target);
        }
    }
    for (const auto& [from, pid] : queued) {
        for (Id to : pools[pid].empty() ? std::set<Id>{{pid, 0}} : pools[pid]) {
            choice.edges.emplace(from, to);
        }
    }
    int pid = 0;
    for (const auto& [id, text] : lines) {
        choice.log += (id.first == pid ? "" : proc(id.first)) + text;
        pid = id.first;
    }
    return choice;
}

using Reach = std::map<Id, std::set<Id>>;

Reach closureOf(const Edges& edges) {
    Reach reach;
    for (const auto& [from, to] : edges) {
        reach[from].insert(to);
        reach[to];
    }
    for (const auto& middle : reach) {
        for (auto& from : reach) {
            if (from.second.count(middle.first) > 0) {
                std::set<Id> more = reach[middle.first];
                from.second.insert(more.begin(), more.end());
            }
        }
    }
    return reach;
}

// The threads that reach one of `ends` from outside, and in how many other processes they are.
std::string blockedBy(const std::set<Id>& ends, const Reach& reach) {
    int threads = 0;
    std::set<int> processes;
    for (const auto& [from, to] : reach) {
        bool isBlocked = std::any_of(ends.begin(), ends.end(),
                                     [&to = to](Id end) { return to.count(end) > 0; });
        if (isBlocked && ends.count(from) == 0) {
            ++threads;
            processes.insert(from.first);
        }
    }
    for (Id end : ends) {
        processes.erase(end.first);
    }
    return " blocks " + std::to_string(threads) + "/" + std::to_string(processes.size());
}

std::set<std::string> expectedOf(const Edges& edges) {
    Reach reach = closureOf(edges);
    std::set<std::string> expected;
    for (const auto& [id, reached] : reach) {
        std::set<Id> loop;
        for (Id each : reached) {
            if (reach[each].count(id) > 0) {
                loop.insert(each);
            }
        }
        if (reached.empty()) {
            expected.insert(textOf(id) + blockedBy({id}, reach));
        } else if (loop == reached) {  // nothing else is reached from it
            std::string members = "deadlock";
            for (Id each : loop) {
                members += " " + textOf(each);
            }
            expected.insert(members + blockedBy(loop, reach));
        }
    }
    return expected;
}

std::set<std::string> foundIn(const std::string& log) {
    Snapshot snapshot;
    readText(log, &snapshot);
    Findings findings = analyze(snapshot);
    std::set<std::string> found;
    auto counts = [](const auto& each) {
        return " blocks " + std::to_string(each.blockedThreads) + "/" +
               std::to_string(each.blockedProcesses);
    };
    for (const RootBlocker& each : findings.rootBlockers) {
        found.insert(describe(findings.threads[each.thread].id) + counts(each));
    }
    for (const Deadlock& each : findings.deadlocks) {
        std::vector<int> members = each.members;
        std::sort(members.begin(), members.end());
        std::string text = "deadlock";
        for (int member : members) {
            text += " " + describe(findings.threads[member].id);
        }
        found.insert(text + counts(each));
    }
    return found;
}

// The definitions, worked out on the closure of the edges: slow, and hard to get wrong.
TEST(Naive, AgreesOnManySmallLogs) {
    std::mt19937 random(11);  // NOLINT: the same cases each time
    for (int i = 0; i < 3000; ++i) {
        Choice choice = choose(&random);
        ASSERT_EQ(expectedOf(choice.edges), foundIn(choice.log)) << choice.log;
    }
}

}  // namespace
}  // namespace stallscope
