#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <regex>
#include <thread>

#include "Target.h"

namespace {

// A sanitizer adds threads that don't have it.
constexpr char kWaitingFrame[] = "(waitForever(int)+";

TEST(NativeCapture, ProcessesOfEveryShapeAreCapturedWholeAndLeftAsTheyWere) {
    auto mainThreadExited = [] {
        std::thread(waitWithThreads, 9).detach();
        syscall(SYS_exit, 0);  // pthread_exit would unwind into the test framework
    };
    auto threadsComeAndGo = [] {
        std::thread(waitWithThreads, 9).detach();
        while (true) {
            std::thread([] { std::thread([] {}).join(); }).join();
        }
    };
    // The number of threads that wait for certain: the one that is ready may not yet.
    const std::tuple<int, std::string, std::function<void()>> shapes[] = {
            {3000, "S", [] { waitWithThreads(3000); }},
            {9, "T", [] { waitWithThreads(10); }},
            {8, "Z", mainThreadExited},
            {8, "S", threadsComeAndGo}};
    for (const auto& [threads, state, body] : shapes) {
        Target target(body);
        kill(target.pid(), state == "T" ? SIGSTOP : SIGCONT);
        ASSERT_TRUE(target.reachesState(state));
        std::string pid = std::to_string(target.pid());
        std::regex start("^\n\n----- pid " + pid +
                         " at [-0-9]{10} [:0-9]{8} -----\n"
                         "Cmd line: .+\nABI: '.+'\n\n\".+\" sysTid=");
        for (int round = 0; round < 3; round++) {
            Capture dump = capture(target.pid());
            EXPECT_EQ(0, dump.result);
            EXPECT_TRUE(std::regex_search(dump.text.substr(0, 500), start)) << dump.text;
            EXPECT_LE(threads, dump.count("\" sysTid="));
            EXPECT_LE(threads, dump.count(kWaitingFrame));
            EXPECT_EQ(dump.text.size(), dump.text.find("\n----- end ") + 18 + pid.size());
            EXPECT_TRUE(target.reachesState(state));
            EXPECT_EQ("0", target.status("TracerPid"));
        }
        kill(target.pid(), SIGCONT);
        EXPECT_TRUE(target.runsOn());
    }
}

TEST(NativeCapture, FramesHaveDemangledNamesAndThreadNamesCannotForgeLines) {
    Target target([] {
        pthread_setname_np(pthread_self(), "a\n----- end 1");
        waitWithThreads(1);
    });
    ASSERT_TRUE(target.reachesState("S"));
    Capture dump = capture(target.pid());
    std::regex frames(
            "\n\"a ----- end 1\" sysTid=[0-9]+\n"
            "  #00 pc [0-9a-f]{16}  /.*/libc.so.6 \\(pause\\+[0-9]+\\)\n"
            "(  #01 pc [0-9a-f]{16}  /.* \\(pause\\+[0-9]+\\)\n)?"  // of a sanitizer
            "  #0[12] pc [0-9a-f]{16}  /.* \\(waitForever\\(int\\)\\+[0-9]+\\)\n"
            "  #0[23] pc [0-9a-f]{16}  /.* \\(waitWithThreads\\(int\\)\\+[0-9]+\\)\n");
    EXPECT_TRUE(std::regex_search(dump.text, frames)) << dump.text;
}

TEST(NativeCapture, AnyThreadStandsForItsProcessTheCallersOwnIncluded) {
    Capture dump;
    std::thread([&] { dump = capture(gettid()); }).join();
    EXPECT_EQ(0, dump.result);
    EXPECT_TRUE(dump.contains("----- pid " + std::to_string(getpid()) + " at "));
    EXPECT_LE(2, dump.count("sysTid="));
}

TEST(NativeCapture, WhatCannotBeCapturedFailsAtOnce) {
    Target target([] { waitWithThreads(1); });
    for (int seconds : {0, -1, INT_MIN}) {
        EXPECT_TRUE(capture(target.pid(), kDebuggerdNativeBacktrace, seconds).failedAtOnce());
    }
    EXPECT_EQ(0, capture(target.pid(), kDebuggerdNativeBacktrace, INT_MAX).result);
    for (int kind : {1, 3, 200}) {
        EXPECT_TRUE(capture(target.pid(), static_cast<DebuggerdDumpType>(kind)).failedAtOnce());
    }
    // One of another tracer stays traced.
    ASSERT_EQ(0, ptrace(PTRACE_SEIZE, target.pid(), nullptr, nullptr));
    Capture traced = capture(target.pid());
    EXPECT_NE(0, traced.result);
    EXPECT_FALSE(traced.contains(kWaitingFrame));
    EXPECT_EQ(std::to_string(getpid()), target.status("TracerPid"));
    kill(target.pid(), SIGKILL);
    EXPECT_TRUE(target.reachesState("Z"));
    for (pid_t pid : {target.pid(), INT_MAX, 0, -1}) {
        EXPECT_TRUE(capture(pid).failedAtOnce()) << pid;
    }
}

TEST(NativeCapture, UninterruptibleThreadCostsTheTimeOutButNotTheOtherThreads) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    Target target([&ends] {
        std::thread(waitWithThreads, 10).detach();
        sleepUntilReadable(ends[0]);
        pause();
    });
    ASSERT_TRUE(target.reachesState("D"));
    Capture late = capture(target.pid(), kDebuggerdNativeBacktrace, 1);
    EXPECT_TRUE(late.timedOutAfterASecond());
    EXPECT_EQ(10, late.count(kWaitingFrame)) << late.text;
    EXPECT_EQ(1, late.count("  (did not stop in time; wait channel: ")) << late.text;
    EXPECT_TRUE(target.runsOn());

    // A capture process that waits ends with its caller.
    pid_t caller = startCaller(target.pid());
    ASSERT_TRUE(eventually([&] { return target.status("TracerPid") != "0"; }));
    pid_t tracer = std::stoi(target.status("TracerPid"));
    killChild(caller);
    EXPECT_TRUE(eventually([&] { return kill(tracer, 0) != 0; }));
    EXPECT_TRUE(target.runsOn());

    EXPECT_EQ(1, write(ends[1], "g", 1));
    Capture whole = capture(target.pid());
    EXPECT_EQ(0, whole.result);
    EXPECT_EQ(10, whole.count(kWaitingFrame));
}

TEST(NativeCapture, CapturesOfOneProcessAtTheSameTimeAllSucceed) {
    Target target([] { waitWithThreads(100); });
    std::vector<std::thread> callers(6);
    for (std::thread& caller : callers) {
        caller = std::thread([&] {
            Capture dump = capture(target.pid());
            EXPECT_EQ(0, dump.result);
            EXPECT_EQ(100, dump.count(kWaitingFrame));
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_TRUE(target.runsOn());
}

int sSignalPipe[2];

void captureOnce(const Target& target) {
    EXPECT_EQ(0, capture(target.pid()).result);
}

// A caller dies at the worst time: while its target is being held.
void captureAndDie(const Target& target) {
    pid_t caller = startCaller(target.pid());
    while (target.status("TracerPid") == "0") {
    }
    killChild(caller);
}

// Queued signals are counted: of ordinary ones, two that are pending at once are delivered as one.
TEST(NativeCapture, NoSignalGetsLostAlsoWhenTheCallerIsKilled) {
    for (auto disturb : {captureOnce, captureAndDie}) {
        ASSERT_EQ(0, pipe(sSignalPipe));
        Target target([] {
            signal(SIGRTMIN, [](int) { (void)!write(sSignalPipe[1], "s", 1); });
            waitWithThreads(20);
        });
        std::atomic<bool> done = false;
        std::atomic<int> disturbances = 0;
        std::thread disturber([&] {
            for (; !done; disturbances++) {
                disturb(target);
            }
        });
        int sent = 0;
        for (; sent < 3000 || disturbances < 20; sent++) {
            EXPECT_EQ(0, sigqueue(target.pid(), SIGRTMIN, {}));
            usleep(100);
        }
        done = true;
        disturber.join();
        int received = 0;
        eventually([&] {
            return ioctl(sSignalPipe[0], FIONREAD, &received) == 0 && received == sent;
        });
        EXPECT_EQ(sent, received);
        EXPECT_TRUE(target.runsOn());
    }
}

TEST(NativeCapture, StopContinueAndTheEndAreObeyedDuringCaptures) {
    Target target([] { waitWithThreads(200); });
    pid_t caller = startCaller(target.pid());
    // Stops of the tracer look like 't'.
    for (int i = 0; i < 20; i++) {
        kill(target.pid(), SIGSTOP);
        usleep(1000 * i);
        EXPECT_TRUE(target.reachesState("T"));
        kill(target.pid(), SIGCONT);
        usleep(1000 * i);
        EXPECT_TRUE(target.reachesState("S"));
    }
    kill(target.pid(), SIGTERM);
    EXPECT_TRUE(target.reachesState("Z"));
    killChild(caller);
}

class CaptureOutput : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(mTarget.runsOn()); }

    int dump(int fd, int seconds = 10) {
        pid_t pid = mTarget.pid();
        return dump_backtrace_to_file_timeout(pid, kDebuggerdNativeBacktrace, seconds, fd);
    }

    TemporaryFile mFile;
    int mPipe[2];
    Target mTarget{[] { waitWithThreads(200); }};
};

TEST_F(CaptureOutput, AnyDescriptorStaysOpenAndAppends) {
    ASSERT_EQ(6, write(mFile.fd, "before", 6));
    for (int number : {0, 1, 3}) {
        // A caller may also ignore its children.
        pid_t child = startChild([&] {
            signal(SIGCHLD, SIG_IGN);
            dup3(mFile.fd, number, O_CLOEXEC);
            int result = dump(number);
            _exit(result + (fcntl(number, F_GETFD) == FD_CLOEXEC ? 0 : 100));
        });
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(0, status) << number;
    }
    EXPECT_EQ(5, write(mFile.fd, "after", 5));
    Capture file;
    ASSERT_TRUE(android::base::ReadFileToString(mFile.path, &file.text));
    EXPECT_EQ(0u, file.text.find("before\n\n----- pid "));
    EXPECT_EQ(2, file.count("-----\n\n\n----- pid "));
    EXPECT_EQ(file.text.size() - 11, file.text.rfind("-----\nafter"));
}

TEST_F(CaptureOutput, FailedWritesFailTheCaptureAndNotTheCaller) {
    ASSERT_EQ(0, pipe(mPipe));
    close(mPipe[0]);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = {1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_NE(0, dump(mFile.fd));
    setrlimit(RLIMIT_FSIZE, &before);
    for (int fd : {open("/dev/full", O_WRONLY), open(mFile.path, O_RDONLY), mPipe[1], -1}) {
        EXPECT_NE(0, dump(fd)) << fd;
    }
}

TEST_F(CaptureOutput, FullPipeCostsNoMoreThanTheTimeOut) {
    for (int flags : {0, O_NONBLOCK}) {
        ASSERT_EQ(0, pipe2(mPipe, flags));
        fcntl(mPipe[1], F_SETPIPE_SZ, 4096);
        alarm(10);  // or the test fails
        EXPECT_NE(0, dump(mPipe[1], 1));
        alarm(0);
        EXPECT_TRUE(mTarget.runsOn());
    }
}

}  // namespace
