// The debugger daemon's client for hosts that have no debugger daemon: each capture runs in a
// process of its own (CaptureMain.cpp). That keeps the time-out whatever the target does, since
// even a read of /proc can block there; an unwinder that crashes on a damaged process doesn't take
// the daemon along; and the kernel undoes everything ptrace when the capture process ends or is
// killed.

#define LOG_TAG "libdebuggerd_client"

#include <android-base/unique_fd.h>
#include <debuggerd/client.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "host/debuggerd/CaptureResult.h"
#include "host/debuggerd/Deadline.h"

namespace debuggerd {
namespace {

using android::base::unique_fd;

constexpr char kCaptureProgram[] = "debuggerd_capture";
// How long a killed capture process may take to go; more only if it sleeps uninterruptibly.
constexpr auto kKillGrace = std::chrono::milliseconds(100);
// So much earlier the capture process gives up by itself and still completes what it writes.
constexpr auto kFlushTime = std::chrono::milliseconds(50);

const char* describe(CaptureResult result) {
    switch (result) {
        case CaptureResult::kCaptured:
            return "captured";
        case CaptureResult::kTimedOut:
            return "the time was up; look for threads in uninterruptible sleep or allow more time";
        case CaptureResult::kNoSuchProcess:
            return "there is no such process, or it has exited";
        case CaptureResult::kTraced:
            return "it is being traced; end the debugger named as TracerPid in its status";
        case CaptureResult::kNotPermitted:
            return "tracing it is not permitted; run as root or as its user";
        case CaptureResult::kNotJvm:
            return "it is not a running HotSpot JVM that accepts SIGQUIT";
        case CaptureResult::kJvmFailed:
            return "the JVM refused or jattach is not installed";
        case CaptureResult::kWriteFailed:
            return "the output can't be written; is the disk full?";
        case CaptureResult::kUnsupported:
            return "this kind of dump is not supported";
        case CaptureResult::kBroken:
            break;
    }
    return "the capture process failed; is debuggerd_capture installed beside the library, and are "
           "there descriptors left?";
}

std::string captureProgramPath() {
    Dl_info info = {};
    dladdr(reinterpret_cast<void*>(&dump_backtrace_to_file_timeout), &info);
    std::string library = info.dli_fname ? info.dli_fname : "";
    return library.substr(0, library.rfind('/') + 1) + kCaptureProgram;
}

// In the capture process the output is descriptor 1 and the result is written to descriptor 3.
pid_t spawnCapture(pid_t tid, DebuggerdDumpType type, const Deadline& deadline, int outputFd,
                   int resultFd) {
    std::string path = captureProgramPath();
    std::string arguments[] = {kCaptureProgram, std::to_string(type), std::to_string(tid),
                               std::to_string(deadline.earlierBy(kFlushTime).nanoseconds()),
                               std::to_string(getpid())};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                    arguments[3].data(), arguments[4].data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outputFd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, resultFd, 3);
    posix_spawn_file_actions_addclosefrom_np(&actions, 4);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    pid_t child = -1;
    int error = posix_spawn(&child, path.c_str(), &actions, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? child : -1;
}

bool waitForEnd(int resultFd, const Deadline& deadline) {
    pollfd end = {resultFd, POLLIN, 0};
    int ready;
    do {
        ready = poll(&end, 1, deadline.pollTimeout());
    } while (ready == -1 && errno == EINTR);
    return ready == 1;
}

// The result comes through a pipe and not as an exit status: that would be lost in a process that
// ignores SIGCHLD. A pipe closed without a result means that the capture process crashed.
CaptureResult readResult(int resultFd) {
    CaptureResult result = CaptureResult::kBroken;
    if (TEMP_FAILURE_RETRY(read(resultFd, &result, sizeof(result))) != sizeof(result)) {
        return CaptureResult::kBroken;
    }
    return result;
}

void reap(pid_t child, int resultFd) {
    auto wait = [child] { TEMP_FAILURE_RETRY(waitpid(child, nullptr, 0)); };
    if (waitForEnd(resultFd, Deadline::after(kKillGrace))) {
        wait();
    } else {
        std::thread(wait).detach();
    }
}

CaptureResult capture(pid_t tid, DebuggerdDumpType type, const Deadline& deadline, int fd) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return CaptureResult::kBroken;
    }
    // Above the numbers the capture process uses, so that no dup2 there overwrites another.
    unique_fd resultEnd(ends[0]);
    unique_fd pipeEnd(ends[1]);
    unique_fd childEnd(fcntl(pipeEnd.get(), F_DUPFD_CLOEXEC, 4));
    unique_fd output(fcntl(fd, F_DUPFD_CLOEXEC, 4));
    if (output == -1) {
        return errno == EBADF ? CaptureResult::kWriteFailed : CaptureResult::kBroken;
    }
    pid_t child = spawnCapture(tid, type, deadline, output.get(), childEnd.get());
    pipeEnd.reset();
    childEnd.reset();
    if (child == -1) {
        return CaptureResult::kBroken;
    }
    CaptureResult result = CaptureResult::kTimedOut;
    if (waitForEnd(resultEnd.get(), deadline)) {
        result = readResult(resultEnd.get());
    } else {
        kill(child, SIGKILL);
    }
    reap(child, resultEnd.get());
    return result;
}

}  // namespace
}  // namespace debuggerd

// A time-out of 0 or less has expired already; the platform's own client would wait forever.
int dump_backtrace_to_file_timeout(pid_t tid, DebuggerdDumpType dumpType, int timeoutSecs, int fd) {
    using debuggerd::CaptureResult;
    using debuggerd::Deadline;
    CaptureResult result = CaptureResult::kTimedOut;
    if (dumpType != kDebuggerdNativeBacktrace && dumpType != kDebuggerdJavaBacktrace) {
        result = CaptureResult::kUnsupported;
    } else if (timeoutSecs > 0) {
        Deadline deadline = Deadline::after(std::chrono::seconds(timeoutSecs));
        result = debuggerd::capture(tid, dumpType, deadline, fd);
    }
    if (result != CaptureResult::kCaptured) {
        // Callers try for Java first: that a process is no JVM is what they want to know, no fault.
        int priority = result == CaptureResult::kNotJvm ? ANDROID_LOG_INFO : ANDROID_LOG_ERROR;
        LOG_PRI(priority, LOG_TAG, "Can't capture process %d (kind %d): %s.", tid, dumpType,
                debuggerd::describe(result));
    }
    return static_cast<int>(result);
}

int dump_backtrace_to_file(pid_t tid, DebuggerdDumpType dumpType, int fd) {
    constexpr int kPatienceSecs = 20;
    return dump_backtrace_to_file_timeout(tid, dumpType, kPatienceSecs, fd);
}
