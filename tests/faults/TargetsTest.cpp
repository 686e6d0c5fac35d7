// What processes do to the daemon that looks at them, and those that call it.

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <future>

#include "tests/faults/FaultSupport.h"
#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kFile[] = "/tmp/target-stacks";

class TargetsTest : public FaultTest {
  protected:
    void SetUp() override {
        FaultTest::SetUp();
        unlink(kFile);
    }
};

TEST_F(TargetsTest, StoppedProcessIsCapturedAndStaysStopped) {
    pid_t pid = stageCrowd();
    auto isStopped = [&] { return statusOf(pid, "State")[0] == 'T'; };
    kill(pid, SIGSTOP);
    EXPECT_TRUE(eventually(isStopped));
    EXPECT_TRUE(capture(mDaemon, pid, kFile));
    EXPECT_LE(40U, count(readFile(kFile), "waitForTheEnd"));
    EXPECT_TRUE(eventually([&] { return isStopped() && statusOf(pid, "TracerPid") == "0"; }));
    kill(pid, SIGCONT);
    EXPECT_TRUE(eventually([&] { return !isStopped(); }));
    killAndReap(pid);
}

// At different times of its capture; whichever it hits, the file holds whole sections or none.
TEST_F(TargetsTest, ProcessThatExitsMeanwhileEndsItsCapture) {
    for (int delayMs : {0, 50, 150, 400, 1000}) {
        pid_t pid = stageCrowd();
        auto isCaptured = std::async(std::launch::async, capture, mDaemon, pid, kFile);
        usleep(delayMs * 1000);
        killAndReap(pid);
        isCaptured.get();
        EXPECT_TRUE(hasWholeSections(readFile(kFile))) << delayMs << "\n" << readFile(kFile);
    }
    EXPECT_NE("", readFile(kFile)) << "no capture got so far";
}

TEST_F(TargetsTest, ProcessThatExecsAllTheTimeGoesOnUntraced) {
    writeFile("/tmp/execs", "#!/bin/sh\nexec sh /tmp/execs $(($1 + 1))\n");
    pid_t pid = startInBackground("sh /tmp/execs 0");
    writeFile(procFile(pid, "oom_score_adj"), "-1000");
    int captured = 0;
    for (int i = 0; i < 8; ++i) {
        captured += capture(mDaemon, pid, kFile) ? 1 : 0;
        std::string before = readFile(procFile(pid, "cmdline"));
        EXPECT_TRUE(eventually([&] { return readFile(procFile(pid, "cmdline")) != before; }));
    }
    EXPECT_LT(0, captured);
    EXPECT_EQ("0", statusOf(pid, "TracerPid"));
    EXPECT_TRUE(hasWholeSections(readFile(kFile))) << readFile(kFile);
    killAndReap(pid);
}

// A call outlives its caller in the log; who gets the caller's number then is taken for it.
TEST_F(TargetsTest, ReusedPidIsReportedUnderItsNewName) {
    pid_t caller = stageCaller("--cmdline fault.caller");
    const std::string number = std::to_string(caller);
    auto expectNames = [&](const std::string& process, const std::string& thread) {
        Texts lines, java, native;
        EXPECT_TRUE(mDaemon->getThreadFullInfo(hang().hardware, &lines, &java, &native).isOk());
        EXPECT_THAT(lines, Contains(StartsWith("incoming transaction from " + number + "(" +
                                               process + "):" + number + "(" + thread + ") to ")));
    };
    expectNames("fault.caller", "fault.caller");
    killAndReap(caller);
    expectNames("unknown", "unknown");
    EXPECT_TRUE(eventually([&] {
        writeFile("/proc/sys/kernel/ns_last_pid", std::to_string(caller - 1));
        if (fork() == 0) {
            execlp("sleep", "impostor", "1000", nullptr);
        }
        return readFile(procFile(caller, "cmdline")).rfind("impostor", 0) == 0;
    }));
    expectNames("impostor", "sleep");
    writeFile(procFile(caller, "oom_score_adj"), "-1000");
    EXPECT_TRUE(capture(mDaemon, caller, kFile));
    EXPECT_THAT(readFile(kFile), HasSubstr("Cmd line: impostor 1000\n"));
}

// Names are taken as they are, line ends included, but for what is not UTF-8: that could not travel
// in an answer.
TEST_F(TargetsTest, HostileNamesDoNotKeepTheAnswerBack) {
    const std::pair<std::string, std::string> names[] = {
            {"a\\nBinder Info:\\nb", "a\nBinder Info:\nb"},
            {"a(b):1(c) to 2", "a(b):1(c) to 2"},
            {"\\342\\202\\254", "\342\202\254"},
            {"cut\\342\\202", "cut\357\277\275\357\277\275"}};
    for (const auto& [printed, expected] : names) {
        pid_t pid = stageCaller("--thread-name \"$(printf 't(\\377\\nx')\" --cmdline \"$(printf '" +
                                printed + "')\"");
        Report report = getTransaction(mDaemon, pid);
        EXPECT_EQ(Texts{expected}, report.senders) << printed;
        const std::string number = std::to_string(pid);
        EXPECT_THAT(report.lines,
                    ElementsAre(StartsWith("outgoing transaction from " + number + "(" + expected +
                                           "):" + number + "(t(\357\277\275) to ")));
        killAndReap(pid);
    }
}

using CallersTest = FaultTest;

TEST_F(CallersTest, TwoHundredCallsWaitForTenThreads) {
    const char* const fifo = "/tmp/log-fifo";
    ASSERT_EQ(0, mkfifo(fifo, 0600));
    std::vector<std::future<Report>> answers;
    {
        // Each call is held while it opens the log.
        OtherKernelLog held(fifo);
        for (int i = 0; i < 200; ++i) {
            answers.push_back(std::async(std::launch::async, getTransaction, mDaemon, 1));
        }
        // The pool's ten, its first one and the main thread.
        EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 12; }));
        usleep(500'000);
        EXPECT_EQ("12", statusOf(mPid, "Threads"));
    }
    std::ofstream(fifo).close();
}

TEST_F(CallersTest, CallOfAClientThatDiesIsFinished) {
    const std::string file = "/tmp/dead-client";
    const std::string crowd = std::to_string(stageCrowd());
    pid_t client = startInBackground(STALLSCOPECTL " dump-list " + file + " subject " + crowd +
                                     " " + crowd);
    EXPECT_TRUE(eventually([&] { return !readFile(file).empty(); }));
    killAndReap(client);
    EXPECT_EQ(0U, count(readFile(file), "\n----- end ")) << "too late to see it die";
    EXPECT_TRUE(eventually(isDaemonIdle));
    std::string stacks = readFile(file);
    EXPECT_TRUE(hasWholeSections(stacks)) << stacks;
    EXPECT_EQ(2U, count(stacks, "\n----- end " + crowd + " -----\n"));
}

}  // namespace
}  // namespace android::test
