// What a target must not notice of a capture: lost signals, and stops that outlive it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>

#include "Target.h"

namespace {

void manyThreads() {
    startWaitingThreads(199);
    Target::ready();
    waitForeverInC();
}

template <typename Value>
struct SharedWithTarget {
    Value* value = new (mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Value();
    ~SharedWithTarget() { munmap(value, sizeof(Value)); }
};

std::atomic<int>* sSignalCount;

// Queued signals are counted: of ordinary ones, two that are pending at once are delivered as one.
void expectNoSignalLostDuring(const std::function<void(const Target&)>& disturb) {
    SharedWithTarget<std::atomic<int>> count;
    sSignalCount = count.value;
    Target target = Target::run([] {
        signal(SIGRTMIN, [](int) { ++*sSignalCount; });
        startWaitingThreads(20);
        Target::ready();
        waitForeverInC();
    });
    std::atomic<bool> done = false;
    std::atomic<int> disturbances = 0;
    std::thread disturber([&] {
        while (!done) {
            disturb(target);
            disturbances++;
        }
    });
    int sent = 0;
    while (sent < 3000 || disturbances < 10) {
        EXPECT_EQ(0, sigqueue(target.pid(), SIGRTMIN, {}));
        sent++;
        usleep(100);
    }
    done = true;
    disturber.join();
    for (int wait = 0; *count.value < sent && wait < 2000; wait++) {
        usleep(1000);
    }
    EXPECT_EQ(sent, *count.value);
    EXPECT_TRUE(target.runsOn());
}

TEST(Release, NoSignalGetsLost) {
    expectNoSignalLostDuring(
            [](const Target& target) { EXPECT_EQ(0, capture(target.pid()).result); });
}

// Starts captures for ever, in a process of its own.
pid_t startCaller(const Target& target) {
    pid_t caller = fork();
    if (caller == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int null = open("/dev/null", O_WRONLY);
        while (true) {
            dump_backtrace_to_file_timeout(target.pid(), kDebuggerdNativeBacktrace, 30, null);
        }
    }
    return caller;
}

// Returns the tracer, once there is one.
pid_t waitForTracer(const Target& target) {
    std::string tracer;
    while ((tracer = target.status("TracerPid")) == "0") {
    }
    return std::stoi(tracer);
}

void killCaller(pid_t caller) {
    kill(caller, SIGKILL);
    waitpid(caller, nullptr, 0);
}

TEST(Release, NoSignalGetsLostWhenTheCallerIsKilled) {
    expectNoSignalLostDuring([](const Target& target) {
        pid_t caller = startCaller(target);
        waitForTracer(target);
        killCaller(caller);
    });
}

TEST(Release, StopAndContinueDuringCapturesAreObeyed) {
    Target target = Target::run(manyThreads);
    std::atomic<bool> done = false;
    std::thread capturer([&] {
        while (!done) {
            EXPECT_EQ(0, capture(target.pid()).result);
        }
    });
    // Stops of the tracer look like 't'.
    for (int i = 0; i < 20; i++) {
        kill(target.pid(), SIGSTOP);
        usleep(1000 * i);
        EXPECT_EQ('T', target.waitForState("T"));
        kill(target.pid(), SIGCONT);
        usleep(1000 * i);
        EXPECT_EQ('S', target.waitForState("S"));
    }
    done = true;
    capturer.join();
    EXPECT_TRUE(target.runsOn());
}

TEST(Release, FatalSignalDuringCapturesEndsTheTarget) {
    for (int i = 0; i < 10; i++) {
        Target target = Target::run(manyThreads);
        std::thread capturer([&] { capture(target.pid()); });
        usleep(3000 * i);
        kill(target.pid(), SIGTERM);
        EXPECT_EQ('Z', target.waitForState("Z"));
        capturer.join();
    }
}

// The caller dies at the worst time: while its target is being held.
TEST(Release, TargetRunsOnWhenTheCallerIsKilled) {
    Target target = Target::run(manyThreads);
    for (int round = 0; round < 20; round++) {
        pid_t caller = startCaller(target);
        waitForTracer(target);
        usleep(200 * round);
        killCaller(caller);
        EXPECT_TRUE(target.runsOn());
    }
    EXPECT_EQ(0, capture(target.pid()).result);
}

TEST(Release, CaptureProcessEndsWithItsCaller) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    Target target = Target::run([&ends] {
        Target::ready();
        sleepUninterruptiblyUntilReadable(ends[0]);
    });
    ASSERT_EQ('D', target.waitForState("D"));
    pid_t caller = startCaller(target);
    pid_t tracer = waitForTracer(target);
    killCaller(caller);
    for (int wait = 0; kill(tracer, 0) == 0 && wait < 2000; wait++) {
        usleep(1000);
    }
    EXPECT_NE(0, kill(tracer, 0));
    EXPECT_TRUE(target.runsOn());
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
