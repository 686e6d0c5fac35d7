#include "diagnostics/BacktraceCapture.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include "diagnostics/ElapsedSeconds.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kCapture[] = "dumpBacktraceToFileTimeout";
constexpr mode_t kReadableAndWritable = 0666;  // before the umask

// Less is never asked for: a time-out of 0 would make the debugger daemon's client wait forever.
constexpr int kShortestAttemptSecs = 1;

enum class Outcome { Succeeded, Failed, OutOfTime };

// Successes are logged at ERROR as well, on purpose: who filters the log by priority sees how a
// capture ended either way.

Outcome attemptJava(int pid, const std::string& file, int remainingSecs) {
    if (remainingSecs < kShortestAttemptSecs) {
        LOG_LINE(ANDROID_LOG_ERROR, kCapture,
                 "Timeout reached before dumping Java stack for pid %d", pid);
        return Outcome::OutOfTime;
    }
    if (dumpTraces(pid, file, remainingSecs, kDebuggerdJavaBacktrace)) {
        LOG_LINE(ANDROID_LOG_ERROR, kCapture, "Java stack dump succeeded for pid %d", pid);
        return Outcome::Succeeded;
    }
    LOG_LINE(ANDROID_LOG_ERROR, kCapture,
             "Java stack dump failed for pid %d, attempting to dump native stack...", pid);
    return Outcome::Failed;
}

Outcome attemptNative(int pid, const std::string& file, int remainingSecs) {
    if (remainingSecs < kShortestAttemptSecs) {
        LOG_LINE(ANDROID_LOG_ERROR, kCapture,
                 "Timeout reached before dumping Native stack for pid %d", pid);
        return Outcome::OutOfTime;
    }
    if (dumpTraces(pid, file, remainingSecs, kDebuggerdNativeBacktrace)) {
        LOG_LINE(ANDROID_LOG_ERROR, kCapture, "Native stack dump succeeded for pid %d", pid);
        return Outcome::Succeeded;
    }
    LOG_LINE(ANDROID_LOG_ERROR, kCapture, "Native stack dump failed for pid %d", pid);
    return Outcome::Failed;
}

}  // namespace

bool dumpTraces(int pid, const std::string& file, int timeoutSecs, DebuggerdDumpType type) {
    if (file.empty()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "File name is empty.");
        return false;
    }
    base::unique_fd output(open(file.c_str(),
                                O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC,
                                kReadableAndWritable));
    if (output.get() < 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Can't open file: %s", file.c_str());
        return false;
    }
    int result = dump_backtrace_to_file_timeout(pid, type, timeoutSecs, output.get());
    if (result != 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to dump backtrace for pid: %d, result %d",
                 pid, result);
    }
    if (fdatasync(output.get()) != 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to flush trace to disk.");
    }
    return result == 0;
}

bool dumpBacktraceToFileTimeout(int pid, int timeoutSecs, const std::string& file) {
    ElapsedSeconds elapsed;
    int adj = getOomAdjOfPid(pid);
    ProcessType type = classifyOomAdj(adj);
    LOG_LINE(ANDROID_LOG_INFO, __func__,
             "Dumping trace for pid %d to %s with timeout %d seconds, adj = %d, processType = %d",
             pid, file.c_str(), timeoutSecs, adj, type);
    if (type == ProcessType::Unknown || type == ProcessType::Shell) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Unsupported process type for pid %d, skipping dump",
                 pid);
        return false;
    }
    Outcome outcome = Outcome::Failed;
    if (type == ProcessType::Java) {
        outcome = attemptJava(pid, file, elapsed.leftOf(timeoutSecs));
    }
    if (outcome == Outcome::Failed) {
        outcome = attemptNative(pid, file, elapsed.leftOf(timeoutSecs));
    }
    return outcome == Outcome::Succeeded;
}

}  // namespace android
