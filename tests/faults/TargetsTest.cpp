// What processes do to the daemon that looks at them.

#include <fcntl.h>
#include <signal.h>

#include <future>

#include "tests/faults/FaultSupport.h"
#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

constexpr char kFile[] = "/tmp/target-stacks";

class TargetsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        hang();
        mDaemon = stallscope();
        mPid = daemonPid();
        unlink(kFile);
    }
    void TearDown() override {
        EXPECT_EQ(mPid, daemonPid());
        expectEverythingWorks(mDaemon);
    }

    bool capture(pid_t pid) {
        bool isCaptured = false;
        EXPECT_TRUE(mDaemon->dumpTraceForPidWithTimeout(pid, 20, kFile, &isCaptured).isOk());
        return isCaptured;
    }

    bool showsWaitingThreads(pid_t pid) {
        unlink(kFile);
        return capture(pid) && count(readFile(kFile), "waitForTheEnd") >= 3;
    }

    sp<IStallscope> mDaemon;
    pid_t mPid = 0;
};

bool isStopped(pid_t pid) {
    return statusOf(pid, "State").rfind('T', 0) == 0;
}

TEST_F(TargetsTest, StoppedProcessIsCapturedAndStaysStopped) {
    pid_t pid = stageProcess("--adj -1000 --idle-threads 3");
    EXPECT_TRUE(eventually([&] { return isNative(pid) && showsWaitingThreads(pid); }));
    kill(pid, SIGSTOP);
    EXPECT_TRUE(eventually([&] { return isStopped(pid); }));
    EXPECT_TRUE(showsWaitingThreads(pid));
    EXPECT_TRUE(eventually([&] { return isStopped(pid) && statusOf(pid, "TracerPid") == "0"; }));
    kill(pid, SIGCONT);
    EXPECT_TRUE(eventually([&] { return !isStopped(pid); }));
    killAndReap(pid);
}

// At different times of its capture; whichever it hits, the file holds whole sections or none.
TEST_F(TargetsTest, ProcessThatExitsMeanwhileEndsItsCapture) {
    for (int delayMs : {0, 50, 150, 400}) {
        pid_t pid = stageProcess("--adj -1000 --idle-threads 100");
        EXPECT_TRUE(eventually([&] { return statusOf(pid, "Threads") == "102"; }));
        std::future<bool> isCaptured = std::async(std::launch::async, [&] { return capture(pid); });
        usleep(delayMs * 1000);
        killAndReap(pid);
        isCaptured.get();
        EXPECT_TRUE(hasWholeSections(readFile(kFile))) << delayMs << "\n" << readFile(kFile);
    }
}

TEST_F(TargetsTest, ProcessThatExecsAllTheTimeGoesOnUntraced) {
    writeFile("/tmp/execs", "#!/bin/sh\nexec /tmp/execs $(($1 + 1))\n");
    chmod("/tmp/execs", 0755);
    pid_t pid = startInBackground("/tmp/execs 0");
    writeFile("/proc/" + std::to_string(pid) + "/oom_score_adj", "-1000");
    auto cmdline = [&] { return readFile("/proc/" + std::to_string(pid) + "/cmdline"); };
    int captured = 0;
    for (int i = 0; i < 8; ++i) {
        captured += capture(pid) ? 1 : 0;
        std::string before = cmdline();
        EXPECT_TRUE(eventually([&] { return cmdline() != before; }));
    }
    EXPECT_LT(0, captured);
    EXPECT_EQ("0", statusOf(pid, "TracerPid"));
    EXPECT_TRUE(hasWholeSections(readFile(kFile))) << readFile(kFile);
    killAndReap(pid);
}

// A call outlives its caller in the log; who gets the caller's number then is taken for it.
TEST_F(TargetsTest, ReusedPidIsReportedUnderItsNewName) {
    pid_t caller = stageCaller("--cmdline fault.caller");
    auto lineOfTheCaller = [&] {
        Texts lines, java, native;
        EXPECT_TRUE(mDaemon->getThreadFullInfo(hang().hardware, &lines, &java, &native).isOk());
        for (const std::string& line : lines) {
            if (line.find("from " + std::to_string(caller) + "(") != std::string::npos) {
                return line.substr(0, line.find(" to "));
            }
        }
        return std::string("no line");
    };
    const std::string number = std::to_string(caller);
    const std::string start = "incoming transaction from " + number;
    EXPECT_EQ(start + "(fault.caller):" + number + "(fault.caller)", lineOfTheCaller());
    killAndReap(caller);
    EXPECT_EQ(start + "(unknown):" + number + "(unknown)", lineOfTheCaller());
    EXPECT_TRUE(eventually([&] {
        writeFile("/proc/sys/kernel/ns_last_pid", std::to_string(caller - 1));
        if (fork() == 0) {
            execlp("sleep", "impostor", "1000", nullptr);
        }
        return readFile("/proc/" + number + "/cmdline").rfind("impostor", 0) == 0;
    }));
    EXPECT_EQ(start + "(impostor):" + number + "(sleep)", lineOfTheCaller());
    writeFile("/proc/" + number + "/oom_score_adj", "-1000");
    EXPECT_TRUE(capture(caller));
    EXPECT_NE(std::string::npos, readFile(kFile).find("Cmd line: impostor 1000\n"));
}

// Names are taken as they are, line ends included, but for what is not UTF-8: that could not travel
// in an answer.
TEST_F(TargetsTest, HostileNamesDoNotKeepTheAnswerBack) {
    const std::pair<std::string, std::string> names[] = {
            {"a\\nBinder Info:\\nb", "a\nBinder Info:\nb"},
            {"a(b):1(c) to 2", "a(b):1(c) to 2"},
            {"\\342\\202\\254", "\342\202\254"},
            {"cut\\342\\202", "cut\357\277\275\357\277\275"},
            {"mid\\377dle",
             "mid\357\277\275"
             "dle"},
            {"\\200\\303", "\357\277\275\357\277\275"}};
    for (const auto& [printed, expected] : names) {
        pid_t pid = stageCaller("--thread-name t --cmdline \"$(printf '" + printed + "')\"");
        Texts lines, java, native, senders, others[4];
        bool isBlocked = false;
        binder::Status status =
                mDaemon->getTransaction(pid, &lines, &java, &native, &senders, &others[0],
                                        &others[1], &others[2], &others[3], &isBlocked);
        EXPECT_TRUE(status.isOk()) << printed << ": " << status;
        EXPECT_EQ(Texts{expected}, senders) << printed;
        const std::string number = std::to_string(pid);
        const std::string start = "outgoing transaction from " + number + "(" + expected +
                                  "):" + number + "(t) to " + std::to_string(hang().hardware) + "(";
        ASSERT_EQ(1U, lines.size());
        EXPECT_EQ(start, lines[0].substr(0, start.size()));
        killAndReap(pid);
    }
}

}  // namespace
}  // namespace android::test
