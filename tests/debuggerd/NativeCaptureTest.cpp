#include <sys/ioctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <climits>
#include <future>
#include <regex>

#include "Target.h"

namespace {

constexpr DebuggerdDumpType kNative = kDebuggerdNativeBacktrace;
// A sanitizer adds threads that don't have it.
constexpr char kWaitingFrame[] = "(waitForever(int)+";

TEST(NativeCapture, ProcessesOfEveryShapeAreCapturedWholeAndLeftAsTheyWere) {
    auto mainThreadExits = [] {
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
            {8, "Z", mainThreadExits},
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
    Capture dump = std::async(std::launch::async, [] { return capture(gettid()); }).get();
    EXPECT_EQ(0, dump.result);
    EXPECT_TRUE(dump.contains("----- pid " + std::to_string(getpid()) + " at "));
    EXPECT_LE(2, dump.count("sysTid="));
}

TEST(NativeCapture, WhatCannotBeCapturedFailsAtOnce) {
    Target target([] { waitWithThreads(1); });
    EXPECT_EQ(0, capture(target.pid(), kNative, INT_MAX).result);
    for (int seconds : {0, -1, INT_MIN}) {
        EXPECT_TRUE(capture(target.pid(), kNative, seconds).failedAtOnce()) << seconds;
    }
    EXPECT_TRUE(capture(target.pid(), static_cast<DebuggerdDumpType>(3)).failedAtOnce());
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
        // A thread that waits for the end of such a child can be interrupted by its death only.
        if (syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr) == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            char byte;
            syscall(SYS_read, ends[0], &byte, 1);
            syscall(SYS_exit, 0);  // a sanitizer's own exit would wait for threads of the parent
        }
        pause();
    });
    ASSERT_TRUE(target.reachesState("D"));
    Capture late = capture(target.pid(), kNative, 1);
    EXPECT_TRUE(late.timedOutAfterASecond());
    EXPECT_EQ(10, late.count(kWaitingFrame)) << late.text;
    EXPECT_EQ(1, late.count("  (did not stop in time; wait channel: ")) << late.text;
    EXPECT_TRUE(target.runsOn());

    // A capture process that waits ends with its caller.
    pid_t tracer = 0;
    {
        Target caller = callerFor(target.pid());
        eventually([&] { return (tracer = std::stoi(target.status("TracerPid"))) != 0; });
    }
    EXPECT_NE(0, tracer);
    EXPECT_TRUE(eventually([&] { return kill(tracer, 0) != 0; }));
    EXPECT_TRUE(target.runsOn());

    EXPECT_EQ(1, write(ends[1], "g", 1));
    Capture whole = capture(target.pid());
    EXPECT_EQ(0, whole.result);
    EXPECT_EQ(10, whole.count(kWaitingFrame));
}

TEST(NativeCapture, CapturesOfOneProcessAtTheSameTimeAllSucceed) {
    Target target([] { waitWithThreads(100); });
    std::future<Capture> captures[6];
    for (std::future<Capture>& each : captures) {
        each = std::async(std::launch::async, [&] { return capture(target.pid()); });
    }
    for (std::future<Capture>& each : captures) {
        Capture dump = each.get();
        EXPECT_EQ(0, dump.result);
        EXPECT_EQ(100, dump.count(kWaitingFrame));
    }
    EXPECT_TRUE(target.runsOn());
}

int sSignalPipe[2];

// Queued signals are counted: of ordinary ones, two that are pending at once are delivered as one.
TEST(NativeCapture, SignalsAreObeyedAlsoWhenTheCallerIsKilled) {
    ASSERT_EQ(0, pipe(sSignalPipe));
    Target target([] {
        signal(SIGRTMIN, [](int) { (void)!write(sSignalPipe[1], "s", 1); });
        waitWithThreads(20);
    });
    std::atomic<bool> done = false;
    std::atomic<int> disturbances = 0;
    std::thread disturber([&] {
        for (; !done; disturbances++) {
            EXPECT_EQ(0, capture(target.pid()).result);
            // This one dies at the worst time: while its target is being held.
            Target caller = callerFor(target.pid());
            while (target.status("TracerPid") == "0") {
            }
        }
    });
    int sent = 0;
    for (; sent < 6000 || disturbances < 20; sent++) {
        EXPECT_EQ(0, sigqueue(target.pid(), SIGRTMIN, {}));
        usleep(100);
        if (sent % 500 == 0) {
            kill(target.pid(), SIGSTOP);
            EXPECT_TRUE(target.reachesState("T"));  // stops of the tracer look like 't'
            kill(target.pid(), SIGCONT);
            EXPECT_TRUE(target.reachesState("S"));
        }
    }
    done = true;
    disturber.join();
    int received = 0;
    eventually([&] { return ioctl(sSignalPipe[0], FIONREAD, &received) == 0 && received == sent; });
    EXPECT_EQ(sent, received);
    EXPECT_TRUE(target.runsOn());
}

class CaptureOutput : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(mTarget.runsOn()); }

    int dump(int fd, int seconds = 10) {
        return dump_backtrace_to_file_timeout(mTarget.pid(), kNative, seconds, fd);
    }

    TemporaryFile mFile;
    int mPipe[2];
    Target mTarget{[] { waitWithThreads(200); }};
};

TEST_F(CaptureOutput, AnyDescriptorStaysOpenAndAppends) {
    ASSERT_EQ(6, write(mFile.fd, "before", 6));
    for (int number : {0, 1, 3}) {
        auto dumpToNumber = [&] {
            signal(SIGCHLD, SIG_IGN);  // as a caller may
            dup3(mFile.fd, number, O_CLOEXEC);
            int result = dump(number);
            _exit(result + (fcntl(number, F_GETFD) == FD_CLOEXEC ? 0 : 100));
        };
        EXPECT_EXIT(dumpToNumber(), testing::ExitedWithCode(0), "") << number;
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
        EXPECT_NE(0, dump(mPipe[1], 1));
    }
}

}  // namespace
