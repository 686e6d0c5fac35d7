#include "analysis/output/Phrases.h"

#include <algorithm>
#include <cstdio>

namespace stallscope {

namespace {

constexpr int64_t kSecond = 1000;
constexpr int64_t kMinute = 60 * kSecond;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;

std::string twoUnits(int64_t milliseconds, int64_t large, const char* largeName, int64_t small,
                     const char* smallName) {
    std::string text = std::to_string(milliseconds / large) + " " + largeName;
    if (int64_t rest = milliseconds % large / small) {
        text += " " + std::to_string(rest) + " " + smallName;
    }
    return text;
}

std::string hexadecimal(uint32_t number) {
    char text[16];
    snprintf(text, sizeof(text), "%x", number);
    return text;
}

std::string forText(int64_t milliseconds) {
    return milliseconds == kNoTime ? "" : " for " + durationText(milliseconds);
}

std::string lockText(const LockWait& lock) {
    std::string text = "<" + std::string(lock.object) + ">";
    return lock.type.empty() ? text : text + " (a " + std::string(lock.type) + ")";
}

// Of a thread whose waits lead nowhere, or that is not in a call.
std::string idleText(const ThreadNode& thread) {
    if (thread.id.isProcess()) {
        return "no thread of it is known to serve calls";
    }
    if (thread.waitingCall != kNone) {
        return "in a call that is parked, or whose receiver has gone";
    }
    return thread.stacks.empty() ? "not in the log" : "in no call";
}

// The first that says what the thread is about: all that wait look alike in the C library.
std::string_view tellingFrame(const std::vector<StackFrame>& frames) {
    auto found = std::find_if(frames.begin(), frames.end(), [](const StackFrame& each) {
        return each.text.find("/libc.so") == std::string_view::npos;
    });
    return (found == frames.end() ? frames.front() : *found).text;
}

std::string dumpText(const ThreadNode& thread) {
    if (thread.dump == nullptr) {
        return {};
    }
    const DumpThread& dump = *thread.dump;
    std::string text;
    if (dump.waitsToLock) {
        text += ", waits for lock " + lockText(*dump.waitsToLock);
    } else if (dump.waitsForMutex) {
        text += ", waits for a native mutex whose owner is not printed";
    }
    if (!dump.frames.empty()) {
        text += ", " + std::string(tellingFrame(dump.frames));
    }
    if (!text.empty() && !thread.dumpSection->isOfLogsMoment) {
        text += " (in an older dump)";
    }
    return text;
}

}  // namespace

std::vector<std::string> caveatsOf(const Snapshot& snapshot) {
    std::vector<std::string> caveats = snapshot.notes;
    if (!snapshot.isComplete()) {
        caveats.insert(caveats.begin(),
                       "The log may be cut short: at a length like this the kernel drops the rest "
                       "without a word.");
    }
    return caveats;
}

std::string durationText(int64_t milliseconds) {
    if (milliseconds == kNoTime) {
        return {};
    }
    if (milliseconds < kSecond) {
        return std::to_string(milliseconds) + " ms";
    }
    if (milliseconds < kMinute) {
        int64_t tenths = std::min((milliseconds + 50) / 100, kMinute / 100 - 1);
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
    }
    if (milliseconds < kHour) {
        return twoUnits(milliseconds, kMinute, "min", kSecond, "s");
    }
    return milliseconds < kDay ? twoUnits(milliseconds, kHour, "h", kMinute, "min")
                               : twoUnits(milliseconds, kDay, "d", kHour, "h");
}

std::string processText(int pid, std::string_view name) {
    return name.empty() ? "process " + std::to_string(pid)
                        : std::string(name) + " (" + std::to_string(pid) + ")";
}

std::string threadText(const ThreadNode& thread) {
    std::string text = processText(thread.id.pid, thread.process);
    if (thread.id.isProcess()) {
        return text;
    }
    text += ", thread " + std::to_string(thread.id.tid);
    return thread.name.empty() ? text : text + " \"" + std::string(thread.name) + "\"";
}

std::string countText(uint64_t count, const std::string& noun) {
    bool isSibilant = !noun.empty() && noun.back() == 's';
    return std::to_string(count) + " " + noun + (count == 1 ? "" : isSibilant ? "es" : "s");
}

std::string callText(const Call& call) {
    std::string text = "code " + hexadecimal(call.code);
    return call.node == kNoNode ? text : text + " on node " + std::to_string(call.node);
}

std::string doingText(const Findings& findings, const ThreadNode& thread) {
    std::string text;
    if (!thread.waits.empty()) {
        text = waitText(findings, findings.waits[thread.waits.begin]);
    } else if (thread.serving != kNone && thread.waitingCall == kNone) {
        const Call& call = findings.calls[thread.serving];
        text = "serving " + callText(call) + forText(call.timeMs);
    } else {
        text = idleText(thread);
    }
    return text + dumpText(thread);
}

std::string waitText(const Findings& findings, const Wait& wait) {
    if (wait.type == EdgeType::kLock) {
        return "waits for lock " + lockText(*wait.lock);
    }
    const Call& call = findings.calls[wait.call];
    std::string text =
            wait.type == EdgeType::kQueued ? "queues with a call, " : "waits in a call, ";
    return text + callText(call) + forText(call.timeMs);
}

}  // namespace stallscope
