#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <regex>
#include <thread>

#include "Target.h"

namespace {

// Much less than the ten seconds a capture is given, but kept on a busy machine as well.
constexpr double kAtOnce = 2;

struct Shape {
    const char* name;
    void (*body)();
    int threads;
    char state;  // before and after
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

void oneThread() {
    Target::ready();
    waitForeverInFrame(3);
}

void manyThreads() {
    startWaitingThreads(99);
    oneThread();
}

void thousandsOfThreads() {
    startWaitingThreads(2999);
    oneThread();
}

void stopped() {
    startWaitingThreads(9);
    Target::ready();
    raise(SIGSTOP);
    waitForeverInC();
}

void mainThreadExited() {
    startWaitingThreads(9);
    Target::ready();
    syscall(SYS_exit, 0);  // pthread_exit would unwind into the test framework
}

void threadsComeAndGo() {
    startWaitingThreads(9);
    Target::ready();
    while (true) {
        std::thread([] { std::thread([] {}).join(); }).join();
    }
}

class ShapeTest : public testing::TestWithParam<Shape> {};

TEST_P(ShapeTest, IsCapturedWholeAndLeftAsItWas) {
    Target target = Target::run(GetParam().body);
    ASSERT_EQ(GetParam().state, target.waitForState({GetParam().state}));
    std::string pid = std::to_string(target.pid());

    for (int round = 0; round < 3; round++) {
        Capture dump = capture(target.pid());

        EXPECT_EQ(0, dump.result);
        EXPECT_TRUE(std::regex_search(dump.text,
                                      std::regex("^\n\n----- pid " + pid +
                                                 " at [-0-9]{10} [:0-9]{8} -----\n"
                                                 "Cmd line: .+\nABI: '.+'\n\n\".+\" sysTid=")))
                << dump.text.substr(0, 500);
        EXPECT_LE(GetParam().threads, dump.count("\" sysTid="));
        EXPECT_LE(GetParam().threads, dump.count("  #00 pc "));
        EXPECT_TRUE(dump.contains("(waitForeverInC+"));
        EXPECT_EQ(dump.text.size(), dump.text.find("\n----- end ") + 18 + pid.size());
        EXPECT_EQ(GetParam().state, target.waitForState({GetParam().state}));
        EXPECT_EQ("0", target.status("TracerPid"));
    }
    kill(target.pid(), SIGCONT);
    EXPECT_TRUE(target.runsOn());
}

INSTANTIATE_TEST_SUITE_P(Targets, ShapeTest,
                         testing::Values(Shape{"OneThread", oneThread, 1, 'S'},
                                         Shape{"ManyThreads", manyThreads, 100, 'S'},
                                         Shape{"ThousandsOfThreads", thousandsOfThreads, 3000, 'S'},
                                         Shape{"Stopped", stopped, 10, 'T'},
                                         Shape{"MainThreadExited", mainThreadExited, 9, 'Z'},
                                         Shape{"ThreadsComeAndGo", threadsComeAndGo, 10, 'S'}),
                         [](const testing::TestParamInfo<Shape>& shape) {
                             return shape.param.name;
                         });

TEST(NativeCapture, FramesHaveDemangledNamesInThePlatformsFormat) {
    Target target = Target::run(oneThread);
    ASSERT_EQ('S', target.waitForState("S"));
    Capture dump = capture(target.pid());
    std::regex frames(
            "  #00 pc [0-9a-f]{16}  /.*/libc.so.6 \\(pause\\+[0-9]+\\)\n"
            "  #01 pc [0-9a-f]{16}  /.* \\(waitForeverInC\\+[0-9]+\\)\n"
            "(  #0[2-5] pc [0-9a-f]{16}  /.* \\(waitForeverInFrame\\(int\\)\\+[0-9]+\\)\n){4}");
    EXPECT_TRUE(std::regex_search(dump.text, frames)) << dump.text;
}

TEST(NativeCapture, NamesCannotForgeLines) {
    Target target = Target::run([] {
        pthread_setname_np(pthread_self(), "a\n----- end 1");
        oneThread();
    });
    Capture dump = capture(target.pid());
    EXPECT_TRUE(dump.contains("\n\"a ----- end 1\" sysTid=")) << dump.text;
}

TEST(NativeCapture, AnyThreadStandsForItsProcessTheCallersOwnIncluded) {
    std::atomic<pid_t> tid = 0;
    std::atomic<bool> done = false;
    std::thread other([&] {
        tid = gettid();
        while (!done) {
            usleep(1000);
        }
    });
    while (tid == 0) {
        usleep(1000);
    }
    Capture dump = capture(tid);
    done = true;
    other.join();
    EXPECT_EQ(0, dump.result);
    EXPECT_TRUE(dump.contains("----- pid " + std::to_string(getpid()) + " at "));
    EXPECT_TRUE(dump.contains("sysTid=" + std::to_string(tid) + "\n"));
}

TEST(NativeCapture, ProcessesThatHaveGoneFailAtOnce) {
    Target target = Target::run(oneThread);
    pid_t pid = target.pid();
    kill(pid, SIGKILL);
    EXPECT_EQ('Z', target.waitForState("Z"));
    Capture zombie = capture(pid);
    target.end();
    Capture dead = capture(pid);
    for (const Capture& failed : {zombie, dead, capture(0), capture(-1)}) {
        EXPECT_NE(0, failed.result);
        EXPECT_EQ("", failed.text);
        EXPECT_GT(kAtOnce, failed.seconds);
    }
}

TEST(NativeCapture, TimeOutsOfZeroOrLessAreOverAtOnce) {
    Target target = Target::run(oneThread);
    for (int seconds : {0, -1, INT_MIN}) {
        Capture failed = capture(target.pid(), kDebuggerdNativeBacktrace, seconds);
        EXPECT_NE(0, failed.result);
        EXPECT_GT(kAtOnce, failed.seconds);
    }
    EXPECT_EQ(0, capture(target.pid(), kDebuggerdNativeBacktrace, INT_MAX).result);
}

TEST(NativeCapture, OtherKindsOfDumpAreRefused) {
    Target target = Target::run(oneThread);
    for (int type : {1, 3, 200}) {
        EXPECT_NE(0, capture(target.pid(), static_cast<DebuggerdDumpType>(type)).result);
    }
    EXPECT_TRUE(target.runsOn());
}

TEST(NativeCapture, TargetOfAnotherTracerFailsAtOnceAndStaysTraced) {
    Target target = Target::run(oneThread);
    ASSERT_EQ(0, ptrace(PTRACE_SEIZE, target.pid(), nullptr, nullptr));
    Capture failed = capture(target.pid());
    EXPECT_NE(0, failed.result);
    EXPECT_EQ("", failed.text);
    EXPECT_GT(kAtOnce, failed.seconds);
    EXPECT_EQ(std::to_string(getpid()), target.status("TracerPid"));
}

TEST(NativeCapture, UninterruptibleThreadCostsTheTimeOutButNotTheOtherThreads) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    Target target = Target::run([&ends] {
        startWaitingThreads(9);
        std::thread([&ends] {
            sleepUninterruptiblyUntilReadable(ends[0]);
            waitForeverInC();
        }).detach();
        oneThread();
    });
    usleep(50'000);
    Capture late = capture(target.pid(), kDebuggerdNativeBacktrace, 1);
    EXPECT_NE(0, late.result);
    EXPECT_LT(0.8, late.seconds);
    EXPECT_GT(2, late.seconds);
    EXPECT_EQ(10, late.count("  #00 pc ")) << late.text;
    EXPECT_EQ(1, late.count("  (did not stop in time; wait channel: ")) << late.text;
    EXPECT_TRUE(target.runsOn());

    EXPECT_EQ(1, write(ends[1], "g", 1));
    Capture dump = capture(target.pid());
    EXPECT_EQ(0, dump.result);
    EXPECT_EQ(11, dump.count("  #00 pc ")) << dump.text;
}

TEST(NativeCapture, CapturesOfOneProcessAtTheSameTimeAllSucceed) {
    Target target = Target::run(manyThreads);
    std::vector<Capture> dumps(6);
    std::vector<std::thread> callers(dumps.size());
    for (size_t i = 0; i < dumps.size(); i++) {
        callers[i] = std::thread([&, i] { dumps[i] = capture(target.pid()); });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    for (const Capture& dump : dumps) {
        EXPECT_EQ(0, dump.result);
        EXPECT_EQ(100, dump.count("  #00 pc "));
    }
    EXPECT_TRUE(target.runsOn());
}

}  // namespace
