// Processes to capture, and captures of them.

#pragma once

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
#include <fstream>
#include <functional>
#include <thread>

using Clock = std::chrono::steady_clock;

// Waits ten seconds for it.
inline bool eventually(const std::function<bool()>& condition) {
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (Clock::now() > end) {
            return false;
        }
        usleep(500);
    }
    return true;
}

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
    // The first word of a field of its status file, such as "State" or "TracerPid".
    std::string status(const std::string& field) const { return status(folder(), field); }
    bool reachesState(const std::string& state) const {
        return eventually([&] { return status("State") == state; });
    }
    // Whether it is untraced and every thread runs or sleeps, waiting a moment for that.
    bool runsOn() const {
        return eventually([this] {
            bool anyLives = false;
            for (const auto& task : std::filesystem::directory_iterator(folder() + "/task")) {
                std::string state = status(task.path(), "State");
                if (state == "T" || state == "t" || status(task.path(), "TracerPid") > "0") {
                    return false;
                }
                anyLives = anyLives || state == "R" || state == "S" || state == "D";
            }
            return anyLives;
        });
    }

  private:
    static std::string status(const std::string& task, const std::string& field) {
        std::ifstream status(task + "/status");
        std::string word;
        while (word != field + ":" && status >> word) {
        }
        return status >> word ? word : "";
    }
    std::string folder() const { return "/proc/" + std::to_string(mPid); }

    inline static int sReadyFd = -1;
    pid_t mPid;
};

// One call of the library with its output.
struct Capture {
    int count(const std::string& part) const {
        int found = 0;
        for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
            found++;
        }
        return found;
    }
    bool contains(const std::string& part) const { return count(part) > 0; }
    // Without waiting for the time-out, which is longer even on a busy machine.
    bool failedAtOnce() const { return result != 0 && text.empty() && seconds < 5; }
    bool timedOutAfterASecond() const { return result != 0 && seconds > 0.8 && seconds < 5; }

    int result = -1;
    double seconds = 0;
    std::string text;
};

inline Capture capture(pid_t pid, DebuggerdDumpType type = kDebuggerdNativeBacktrace,
                       int seconds = 10) {
    TemporaryFile file;
    Capture capture;
    auto start = Clock::now();
    capture.result = dump_backtrace_to_file_timeout(pid, type, seconds, file.fd);
    capture.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_TRUE(android::base::ReadFileToString(file.path, &capture.text));
    return capture;
}

// Captures for ever.
inline Target callerFor(pid_t pid, DebuggerdDumpType type = kDebuggerdNativeBacktrace) {
    return Target([=] {
        Target::ready();
        for (int null = open("/dev/null", O_WRONLY);;) {
            dump_backtrace_to_file_timeout(pid, type, 30, null);
        }
    });
}

inline std::atomic<int> sWaiting = 0;
inline volatile bool sForever = true;  // or the compiler warns that the functions below don't end

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
