#include <algorithm>
#include <cctype>

#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"

namespace stallscope {

namespace {

constexpr const char* kNoTimes = "; the log has no times, so every wait counts";

std::string capitalised(std::string text) {
    if (text.compare(0, 8, "process ") == 0) {
        text[0] = 'P';
    }
    return text;
}

std::string deadlockText(const Findings& findings) {
    const Deadlock& worst = findings.deadlocks.front();
    std::vector<int> pids;
    for (int member : worst.members) {
        pids.push_back(findings.threads[member].id.pid);
    }
    std::sort(pids.begin(), pids.end());
    size_t processes = std::unique(pids.begin(), pids.end()) - pids.begin();
    std::string text = worst.isProbable ? "Probably a deadlock: " : "Deadlock: ";
    text += countText(worst.members.size(), "thread") + " in " + countText(processes, "process");
    if (worst.blockedThreads > 0) {
        text += "; it holds up " + countText(worst.blockedThreads, "thread") + " in " +
                countText(worst.blockedProcesses, "other process");
    }
    if (findings.deadlocks.size() > 1) {
        text += "; and " + countText(findings.deadlocks.size() - 1, "more deadlock");
    }
    return text;
}

std::string blockerText(const Findings& findings, const RootBlocker& blocker) {
    const ThreadNode& node = findings.threads[blocker.thread];
    std::string text = capitalised(threadText(node)) + ", ";
    bool isBusy = node.movement == Movement::kBusy;
    text += isBusy ? "is busy, not stuck (another call at each look), with "
                   : (blocker.isProbable ? "probably holds up " : "holds up ");
    text += countText(blocker.blockedThreads, "thread") + " in " +
            countText(blocker.blockedProcesses, "process");
    text += isBusy ? " waiting" : "";
    if (blocker.longestWaitMs != kNoTime) {
        text += "; longest wait " + durationText(blocker.longestWaitMs);
    }
    return text;
}

std::string poolText(const ExhaustedPool& pool) {
    std::string text = capitalised(processText(pool.pid, pool.process)) +
                       " has no free binder thread for " + countText(pool.queued, "call");
    return pool.oldestMs == kNoTime ? text : text + "; longest wait " + durationText(pool.oldestMs);
}

bool isShort(const Findings& findings, const ThreadNode& node) {
    int blocker = findings.ends[node.end].rootBlocker;
    return blocker != kNone && findings.rootBlockers[blocker].isShort;
}

// "1 s", "0.25 s"
std::string thresholdText(int64_t milliseconds) {
    std::string text = std::to_string(milliseconds / 1000);
    if (int64_t rest = milliseconds % 1000) {
        std::string digits = std::to_string(1000 + rest).substr(1);
        digits.erase(digits.find_last_not_of('0') + 1);
        text += "." + digits;
    }
    return text + " s";
}

// The first in the ranking that is stuck; if none is, the first that is busy.
const RootBlocker* worstOf(const Findings& findings) {
    const RootBlocker* busy = nullptr;
    for (const RootBlocker& each : findings.rootBlockers) {
        if (each.isShort) {
            break;
        }
        if (findings.threads[each.thread].movement != Movement::kBusy) {
            return &each;
        }
        busy = busy == nullptr ? &each : busy;
    }
    return busy;
}

// Why one process hangs: what its main thread waits for, or the thread that waits for longest.
const ThreadNode* hangingThread(const Findings& findings) {
    const ThreadNode* found = nullptr;
    int64_t longest = kNoTime;
    for (const ThreadNode& each : findings.threads) {
        if (each.id.pid != findings.pid || each.nextThread == kNone || isShort(findings, each)) {
            continue;
        }
        int call = findings.waits[each.nextWait].call;
        int64_t timeMs = call == kNone ? kNoTime : findings.calls[call].timeMs;
        if (found == nullptr || each.id.tid == each.id.pid ||
            (found->id.tid != found->id.pid && timeMs > longest)) {
            found = &each;
            longest = timeMs;
        }
    }
    return found;
}

std::string hangText(const Findings& findings, const ThreadNode& node) {
    const End& end = findings.ends[node.end];
    std::string text = capitalised(threadText(node)) + ", waits for ";
    if (end.deadlock != kNone) {
        const Deadlock& deadlock = findings.deadlocks[end.deadlock];
        text += "a deadlock of " + countText(deadlock.members.size(), "thread");
    } else {
        const RootBlocker& blocker = findings.rootBlockers[end.rootBlocker];
        const ThreadNode& last = findings.threads[blocker.thread];
        text += blocker.isProbable ? "probably " : "";
        text += threadText(last);
        text += last.movement == Movement::kBusy ? ", which is busy, not stuck" : "";
    }
    int call = findings.waits[node.nextWait].call;
    int64_t timeMs = call == kNone ? kNoTime : findings.calls[call].timeMs;
    return timeMs == kNoTime ? text : text + ", for " + durationText(timeMs);
}

}  // namespace

std::string sentenceOf(const Snapshot& snapshot, const Findings& findings) {
    const char* noTimes = findings.hasTimes || !snapshot.log ? "" : kNoTimes;
    const ThreadNode* hanging = findings.pid == 0 ? nullptr : hangingThread(findings);
    if (hanging != nullptr) {
        return hangText(findings, *hanging) + noTimes;
    }
    if (!findings.deadlocks.empty()) {
        return deadlockText(findings);
    }
    if (const RootBlocker* worst = worstOf(findings)) {
        return blockerText(findings, *worst) + noTimes;
    }
    if (!findings.exhaustedPools.empty() && !findings.exhaustedPools.front().isShort) {
        return poolText(findings.exhaustedPools.front()) + noTimes;
    }
    if (findings.pid != 0) {
        return "Nobody in " + processText(findings.pid, findings.process) +
               " waits for longer than " + thresholdText(findings.thresholdMs);
    }
    return "Nobody waits for longer than " + thresholdText(findings.thresholdMs);
}

}  // namespace stallscope
