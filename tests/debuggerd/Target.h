#ifndef STALLSCOPE_TESTS_DEBUGGERD_TARGET_H
#define STALLSCOPE_TESTS_DEBUGGERD_TARGET_H

// Processes to capture, and captures of them.

#include <android-base/file.h>
#include <debuggerd/client.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "host/debuggerd/CaptureResult.h"
#include "tests/support/TestSupport.h"

namespace android::test {

// A fork of the test that calls `body`, which has to call ready() and must not return. It ends with
// the object, and with the test.
class Target {
  public:
    explicit Target(const std::function<void()>& body) {
        int ends[2];
        EXPECT_EQ(0, pipe(ends));
        sReadyFd = ends[1];
        mPid = fork();
        if (mPid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            body();
            _exit(1);
        }
        close(ends[1]);
        char byte;
        EXPECT_EQ(1, read(ends[0], &byte, 1)) << "the target ended early";
        close(ends[0]);
    }
    Target(const Target&) = delete;
    ~Target() {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    static void ready() { EXPECT_EQ(1, write(sReadyFd, "r", 1)); }

    pid_t pid() const { return mPid; }
    // The first letter of its state; stops by a tracer are "t".
    bool reachesState(char state) const {
        return eventually([&] { return statusOf(mPid, "State")[0] == state; }, 10);
    }
    // A sanitizer's included.
    size_t threads() const {
        const auto tasks = std::filesystem::directory_iterator(procFile(mPid, "task"));
        return std::distance(begin(tasks), end(tasks));
    }
    std::string tracer() const { return statusOf(mPid, "TracerPid"); }
    // Whether it is untraced and every thread runs or sleeps, waiting a moment for that.
    bool runsOn() const {
        return eventually([this] { return countThreads("tT") == 0 && countThreads("RSD") > 0; },
                          10);
    }

  private:
    int countThreads(const std::string& states) const {
        int threads = 0;
        for (const auto& task : std::filesystem::directory_iterator(procFile(mPid, "task"))) {
            const pid_t tid = std::stoi(task.path().filename());
            const std::string state =
                    statusOf(tid, "TracerPid") > "0" ? "t" : statusOf(tid, "State");
            threads += states.find(state[0]) != std::string::npos ? 1 : 0;
        }
        return threads;
    }

    inline static int sReadyFd = -1;
    pid_t mPid;
};

using debuggerd::CaptureResult;

inline constexpr DebuggerdDumpType kNative = kDebuggerdNativeBacktrace;

// What the library has logged last on this thread.
extern thread_local std::string sLogged;

// One call of the library with its output.
struct Capture {
    bool ended(CaptureResult how) const { return result == static_cast<int>(how); }
    // Without waiting for the time-out, which is longer even on a busy machine.
    bool failedAtOnce(CaptureResult how) const { return ended(how) && text.empty() && seconds < 5; }
    bool timedOutAfterASecond() const {
        return ended(CaptureResult::kTimedOut) && seconds > 0.8 && seconds < 5;
    }

    int result = -1;
    double seconds = 0;
    std::string text;
    std::string log;  // priority and reason
};

inline Capture capture(pid_t pid, DebuggerdDumpType type = kNative, int seconds = 10) {
    using Clock = std::chrono::steady_clock;
    TemporaryFile file;
    Capture capture;
    sLogged.clear();
    const Clock::time_point start = Clock::now();
    capture.result = dump_backtrace_to_file_timeout(pid, type, seconds, file.fd);
    capture.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    capture.text = readFile(file.path);
    capture.log = sLogged;
    return capture;
}

// Captures for ever.
inline Target callerFor(pid_t pid, DebuggerdDumpType type = kNative, int seconds = 30) {
    return Target([=] {
        Target::ready();
        for (int null = open("/dev/null", O_WRONLY);;) {
            dump_backtrace_to_file_timeout(pid, type, seconds, null);
        }
    });
}

inline std::atomic<int> sWaiting = 0;
inline volatile bool sForever = true;  // or the compiler warns that the functions below don't end

// In dumps, of a thread in waitForever. A sanitizer adds threads that don't have it.
inline constexpr char kWaitingFrame[] = "waitForever(int)+";

// What targets do, under names to look for in dumps. Each of the threads ends up in waitForever.
inline __attribute__((noinline)) void waitForever(int number) {
    sWaiting += number > 0 ? 1 : 0;
    while (sForever) {
        pause();
    }
}

inline __attribute__((noinline)) void waitWithThreads(int threads) {
    for (int i = 1; i < threads; i++) {
        std::thread(waitForever, i).detach();
    }
    while (sWaiting < threads - 1) {
        usleep(1000);
    }
    Target::ready();
    waitForever(0);
    asm volatile("");  // keeps the frame: the call above isn't the last thing
}

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_DEBUGGERD_TARGET_H
