#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>

#include <climits>
#include <cstdarg>
#include <future>
#include <regex>

#include "host/debuggerd/Deadline.h"
#include "tests/debuggerd/Target.h"

namespace android::test {

thread_local std::string sLogged;

int dive(int depth, void (*atTheGround)()) {
    if (depth == 0) {
        atTheGround();
        return 0;
    }
    return dive(depth - 1, atTheGround) + 1;
}

void keepDiving() {
    Target::ready();
    for (int depth = 0; sForever; depth = (depth + 7) % 100) {
        dive(depth, [] {});
    }
}

}  // namespace android::test

extern "C" int __android_log_print(int priority, const char* /*tag*/, const char* form, ...) {
    char text[1000];
    va_list values;
    va_start(values, form);
    vsnprintf(text, sizeof(text), form, values);
    va_end(values);
    const std::string line = text;
    android::test::sLogged = "??VDIWEF"[priority] + line.substr(line.find("): ") + 2);
    return 1;
}

namespace android::test {
namespace {

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
    const std::tuple<size_t, char, std::function<void()>> shapes[] = {
            {1500, 'S', [] { waitWithThreads(1500); }},
            {9, 'T', [] { waitWithThreads(10); }},
            {8, 'Z', mainThreadExits},
            {8, 'S', threadsComeAndGo}};
    for (const auto& [threads, state, body] : shapes) {
        Target target(body);
        kill(target.pid(), state == 'T' ? SIGSTOP : SIGCONT);
        ASSERT_TRUE(target.reachesState(state));
        const std::string pid = std::to_string(target.pid());
        const std::regex start("^\n\n----- pid " + pid +
                               " at [-0-9]{10} [:0-9]{8} -----\n"
                               "Cmd line: .+\nABI: '" +
                               abiName() + "'\n\n\".+\" sysTid=");
        // At the same time: they wait for each other.
        std::future<Capture> captures[3];
        for (std::future<Capture>& each : captures) {
            each = std::async(std::launch::async,
                              [&] { return capture(target.pid(), kNative, 40); });
        }
        for (std::future<Capture>& each : captures) {
            const Capture dump = each.get();
            EXPECT_EQ(0, dump.result);
            EXPECT_TRUE(std::regex_search(dump.text.substr(0, 500), start)) << dump.text;
            EXPECT_LE(threads, count(dump.text, kWaitingFrame));
            EXPECT_EQ(dump.text.size(), dump.text.find("\n----- end ") + 18 + pid.size());
        }
        EXPECT_TRUE(target.reachesState(state));
        EXPECT_EQ("0", target.tracer());
        kill(target.pid(), SIGCONT);
        EXPECT_TRUE(target.runsOn());
    }
}

// More frames than a second is enough for, on most machines. Nobody ends the capture process here.
TEST(NativeCapture, CaptureThatIsCutShortSaysSo) {
    Target target([] {
        for (int i = 1; i < 500; ++i) {
            std::thread(dive, 250, [] { waitForever(1); }).detach();
        }
        while (sWaiting < 499) {
            usleep(1000);
        }
        waitWithThreads(1);
    });
    const TemporaryFile result;
    const auto deadline = debuggerd::Deadline::after(std::chrono::milliseconds(500));
    const std::string text =
            outputOf(CAPTURE_PROGRAM " 0 " + std::to_string(target.pid()) + " " +
                     std::to_string(deadline.nanoseconds()) + " $$ 3>" + result.path + "; true");
    const bool isCut = count(text, "\n  (no time left to unwind it)\n") > 0 ||
                       count(text, "\n  (did not stop in time; ") > 0;
    EXPECT_EQ(std::string(1, isCut ? '\1' : '\0'), readFile(result.path));
    EXPECT_EQ(target.threads(), count(text, "\" sysTid="));
    EXPECT_EQ(1U, count(text, "\n----- end "));
}

// At different times of its capture; whichever it hits, there is a whole section or none.
TEST(NativeCapture, ProcessThatExitsOrExecsMeanwhileEndsItsCapture) {
    std::string exited, execed;
    for (int delayUs : {0, 1000, 3000, 10'000, 30'000, 100'000}) {
        Target target([] { waitWithThreads(50); });
        auto dump = std::async(std::launch::async, [&] { return capture(target.pid()); });
        usleep(delayUs);
        kill(target.pid(), SIGKILL);
        exited += dump.get().text;
    }
    Target target([] {
        Target::ready();
        const char* const again = "exec sh -c \"$0\" \"$0\"";
        execlp("sh", "sh", "-c", again, again, nullptr);
    });
    for (int i = 0; i < 8; ++i) {
        execed += capture(target.pid(), kNative, 2).text;
    }
    for (const std::string& text : {exited, execed}) {
        EXPECT_EQ(count(text, "----- pid "), count(text, "\n----- end "));
        EXPECT_LT(0U, count(text, "----- pid ")) << "no capture got so far";
    }
    EXPECT_TRUE(target.runsOn());
}

TEST(NativeCapture, FramesHaveDemangledNamesAndNamesCannotForgeLines) {
    Target target([] {
        pthread_setname_np(pthread_self(), "Tgid:\t1");
        std::thread([] {
            pthread_setname_np(pthread_self(), "a\n----- end 1");
            waitWithThreads(1);
        }).join();
    });
    ASSERT_TRUE(target.reachesState('S'));
    const std::string text = capture(target.pid()).text, pid = std::to_string(target.pid());
    const std::regex frame(
            "\n  #0[0-9] pc [0-9a-f]{16}  /.* \\(android::test::waitForever\\(int\\)\\+");
    EXPECT_TRUE(std::regex_search(text, frame)) << text;
    EXPECT_EQ(1U, count(text, "\n\"a ----- end 1\" sysTid=")) << text;
    EXPECT_EQ(1U, count(text, "----- pid " + pid + " at ")) << text;
    EXPECT_EQ(1U, count(text, "\n\"Tgid: 1\" sysTid=" + pid)) << text;

    Target deep([] { dive(200, [] { waitWithThreads(1); }); });
    EXPECT_EQ(201U, count(capture(deep.pid()).text, "::dive(int, "));
}

// Its stack is the one of the moment when it stood still, though it runs on.
TEST(NativeCapture, StackOfABusyThreadIsWhole) {
    Target target(keepDiving);
    for (int i = 0; i < 20; ++i) {
        const std::string text = capture(target.pid()).text;
        EXPECT_EQ(1U, count(text, "::keepDiving()+")) << text;
    }
}

TEST(NativeCapture, WhatCannotBeCapturedFailsAtOnce) {
    // Any thread stands for its process, the caller's own included.
    const Capture own = std::async(std::launch::async, [] { return capture(gettid()); }).get();
    EXPECT_EQ(0, own.result);
    EXPECT_EQ(1U, count(own.text, "----- pid " + std::to_string(getpid()) + " at "));
    EXPECT_LE(2U, count(own.text, "sysTid="));

    Target target([] { waitWithThreads(1); });
    EXPECT_EQ(0, capture(target.pid(), kNative, INT_MAX).result);
    for (int seconds : {0, -1, INT_MIN}) {
        EXPECT_TRUE(capture(target.pid(), kNative, seconds).failedAtOnce(CaptureResult::kTimedOut));
    }
    EXPECT_TRUE(capture(target.pid(), static_cast<DebuggerdDumpType>(3))
                        .failedAtOnce(CaptureResult::kUnsupported));
    // One of another tracer stays traced. Of several threads the others are captured.
    const std::string self = std::to_string(getpid());
    for (int threads : {1, 2}) {
        Target debugged([threads] { waitWithThreads(threads); });
        ASSERT_EQ(0, ptrace(PTRACE_SEIZE, debugged.pid(), nullptr, nullptr));
        const Capture traced = capture(debugged.pid());
        EXPECT_TRUE(traced.ended(CaptureResult::kTraced));
        EXPECT_THAT(traced.log, testing::StartsWith("E it is being traced; end the debugger "));
        const std::string remark = "=" + std::to_string(debugged.pid()) +
                                   "\n  (is being traced by process " + self + ")\n";
        EXPECT_EQ(debugged.threads() > 1 ? 1U : 0U, count(traced.text, remark)) << traced.text;
        EXPECT_EQ(threads - 1U, count(traced.text, kWaitingFrame));
        EXPECT_EQ(self, debugged.tracer());
    }
    kill(target.pid(), SIGKILL);
    EXPECT_TRUE(target.reachesState('Z'));
    for (pid_t pid : {target.pid(), INT_MAX, 0, -1}) {
        EXPECT_TRUE(capture(pid).failedAtOnce(CaptureResult::kNoSuchProcess)) << pid;
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
    ASSERT_TRUE(target.reachesState('D'));
    const Capture late = capture(target.pid(), kNative, 1);
    EXPECT_TRUE(late.timedOutAfterASecond());
    EXPECT_EQ(10U, count(late.text, kWaitingFrame)) << late.text;
    EXPECT_EQ(1U, count(late.text, "  (did not stop in time; wait channel: ")) << late.text;
    EXPECT_TRUE(target.runsOn());

    // A capture process that crashes ends its capture.
    auto crashed = std::async(std::launch::async, [&] { return capture(target.pid()); });
    EXPECT_TRUE(eventually([&] { return target.tracer() != "0"; }));
    kill(std::stoi(target.tracer()), SIGKILL);
    EXPECT_TRUE(crashed.get().failedAtOnce(CaptureResult::kBroken));

    // A capture process that waits ends with its caller.
    pid_t tracer = 0;
    {
        Target caller = callerFor(target.pid());
        eventually([&] { return (tracer = std::stoi(target.tracer())) != 0; });
        // It holds none of its caller's descriptors.
        const auto pipe =
                std::filesystem::read_symlink(procFile(getpid(), "fd/") + std::to_string(ends[0]));
        const std::string held = outputOf("readlink " + procFile(tracer, "fd/*"));
        EXPECT_LT(0U, count(held, "pipe:"));
        EXPECT_EQ(0U, count(held, pipe));
    }
    EXPECT_NE(0, tracer);
    EXPECT_TRUE(eventually([&] { return kill(tracer, 0) != 0; }));
    EXPECT_TRUE(target.runsOn());

    EXPECT_EQ(1, write(ends[1], "g", 1));
    const Capture whole = capture(target.pid());
    EXPECT_EQ(0, whole.result);
    EXPECT_EQ(10U, count(whole.text, kWaitingFrame));
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
            while (target.tracer() == "0") {
            }
        }
    });
    int sent = 0;
    for (; sent < 6000 || disturbances < 20; sent++) {
        EXPECT_EQ(0, sigqueue(target.pid(), SIGRTMIN, {}));
        usleep(100);
        if (sent % 500 == 0) {
            kill(target.pid(), SIGSTOP);
            EXPECT_TRUE(target.reachesState('T'));
            kill(target.pid(), SIGCONT);
            EXPECT_TRUE(target.reachesState('S'));
        }
    }
    done = true;
    disturber.join();
    int received = 0;
    eventually([&] { return ioctl(sSignalPipe[0], FIONREAD, &received) == 0 && received == sent; });
    EXPECT_EQ(sent, received);
    EXPECT_TRUE(target.runsOn());
}

}  // namespace
}  // namespace android::test
