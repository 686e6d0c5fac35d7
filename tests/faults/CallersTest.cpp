// What callers do to the daemon.

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/faults/FaultSupport.h"
#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

TEST(CallersTest, TwoHundredCallsWaitForTenThreads) {
    sp<IStallscope> daemon = stallscope();
    hang();
    const char* const fifo = "/tmp/log-fifo";
    ASSERT_EQ(0, mkfifo(fifo, 0600));
    std::atomic<int> answered = 0;
    std::vector<std::thread> callers;
    {
        // Each call is held while it opens the log.
        OtherKernelLog held(fifo);
        for (int i = 0; i < 200; ++i) {
            callers.emplace_back([&] {
                Texts lines, java, native;
                answered += daemon->getThreadFullInfo(1, &lines, &java, &native).isOk() ? 1 : 0;
            });
        }
        // The pool's ten, its first one and the main thread.
        EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 12; }));
        usleep(500'000);
        EXPECT_EQ("12", statusOf(daemonPid(), "Threads"));
    }
    std::ofstream(fifo).close();
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(200, answered);
    expectEverythingWorks(daemon);
}

TEST(CallersTest, CallOfAClientThatDiesIsFinished) {
    sp<IStallscope> daemon = stallscope();
    const std::string file = "/tmp/dead-client";
    pid_t target = stageProcess("--adj -1000 --idle-threads 100");
    EXPECT_TRUE(eventually([&] { return statusOf(target, "Threads") == "102"; }));
    const size_t fds = countFds(daemonPid());
    const std::string number = std::to_string(target);
    pid_t client = startInBackground(STALLSCOPECTL " dump-list " + file + " subject " + number +
                                     " " + number);
    EXPECT_TRUE(eventually([&] { return readFile(file) == "subject\n"; }));
    killAndReap(client);
    EXPECT_TRUE(eventually(isDaemonIdle));
    std::string stacks = readFile(file);
    EXPECT_TRUE(hasWholeSections(stacks));
    const std::string end = "\n----- end " + number + " -----\n";
    EXPECT_NE(stacks.find(end), stacks.rfind(end)) << "the second capture is there too";
    EXPECT_EQ(fds, countFds(daemonPid()));
    expectEverythingWorks(daemon);
}

}  // namespace
}  // namespace android::test
