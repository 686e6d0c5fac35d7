#include "diagnostics/TraceDumpWorker.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <unordered_set>

#include "diagnostics/BacktraceCapture.h"
#include "diagnostics/CaptureBounds.h"
#include "diagnostics/Directory.h"
#include "diagnostics/OutputPruning.h"
#include "diagnostics/ProcFile.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kJob[] = "dumpTraceAndBinderInfo";

// The pids dumped so far in this job.
using DumpedPids = std::unordered_set<int>;

int toPid(const std::string& text) {
    return static_cast<int>(strtol(text.c_str(), nullptr, 10));
}

// Peers are captured as the report classed them: no second look, no fallback.
void dumpPeer(int pid, const std::string& file, DebuggerdDumpType type, DumpedPids* dumped) {
    if (dumped->insert(pid).second) {
        LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Dumping backtrace for PID: %d", pid);
        dumpTraces(pid, file, kPeerTimeoutSecs, type);
    }
}

void dumpPeers(const TraceDumpTask& task, DumpedPids* dumped) {
    LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Start dumping trace for java processes");
    for (const std::string& text : task.javaPids) {
        dumpPeer(toPid(text), task.file, kDebuggerdJavaBacktrace, dumped);
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Start dumping trace for native processes");
    for (const std::string& text : task.nativePids) {
        int pid = toPid(text);
        if (pid == getpid()) {
            LOG_LINE(ANDROID_LOG_DEBUG, kJob, "%d == getpid()", pid);
            continue;
        }
        dumpPeer(pid, task.file, kDebuggerdNativeBacktrace, dumped);
    }
}

// The first line of /proc/<name>/cmdline with its NULs removed: a program started with arguments
// reads as one word with them. False when there is none, as for a kernel thread.
bool readJoinedCmdline(const char* name, std::string* cmdline) {
    std::string path = std::string("/proc/") + name + "/cmdline";
    if (readUpTo(path.c_str(), '\n', cmdline) != ReadResult::Text) {
        return false;
    }
    cmdline->erase(std::remove(cmdline->begin(), cmdline->end(), '\0'), cmdline->end());
    return true;
}

void dumpIfNamed(const char* entry, const std::unordered_set<std::string>& names,
                 const std::string& file, DumpedPids* dumped) {
    int pid = atoi(entry);
    if (dumped->count(pid) > 0) {
        LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Pid %d already dumped", pid);
        return;
    }
    std::string cmdline;
    if (!readJoinedCmdline(entry, &cmdline)) {
        return;
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Checking process: %s (PID: %d)", cmdline.c_str(), pid);
    if (names.count(cmdline) > 0) {
        LOG_LINE(ANDROID_LOG_INFO, kJob, "Dumping trace for '%s' (PID: %d)", cmdline.c_str(), pid);
        dumpBacktraceToFileTimeout(pid, kNamedTimeoutSecs, file);
        dumped->insert(pid);
    }
}

// False when the job has to end because the processes can't be listed.
bool dumpNamedProcesses(const TraceDumpTask& task, DumpedPids* dumped) {
    LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Start dumping trace for processes");
    if (task.names.empty()) {
        return true;
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Processes list is not empty");
    const std::unordered_set<std::string> names(task.names.begin(), task.names.end());
    Directory processes("/proc");
    if (!processes.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, kJob, "Failed to open /proc directory");
        return false;
    }
    while (const dirent* entry = processes.next()) {
        bool isProcess =
                entry->d_type == DT_DIR && entry->d_name[0] >= '0' && entry->d_name[0] <= '9';
        if (isProcess) {
            dumpIfNamed(entry->d_name, names, task.file, dumped);
        }
    }
    return true;
}

}  // namespace

void runTraceDump(const TraceDumpTask& task) {
    DumpedPids dumped;
    if (task.withBinderInfo) {
        dumpPeers(task, &dumped);
    }
    if (dumpNamedProcesses(task, &dumped)) {
        pruneToNewestFiles(std::filesystem::path(task.file).parent_path());
    }
}

}  // namespace android
