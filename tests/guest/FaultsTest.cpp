// What the daemon survives that only a real kernel, libbinder and other processes can do to it.

#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

// A daemon that has to be the same and as sound after the test, without more descriptors.
class FaultsTest : public GuestTest {
  protected:
    // In place of the kernel's log while `run` runs.
    static void withLog(const std::string& file, const std::function<void()>& run) {
        EXPECT_EQ(0, mount(file.c_str(), kKernelLog, nullptr, MS_BIND, nullptr));
        run();
        EXPECT_EQ(0, umount2(kKernelLog, MNT_DETACH));
    }

    void SetUp() override {
        ask({"getTransaction", "1"});
        mPid = daemonPid();
        mFds = countFds(mPid);
    }
    void TearDown() override {
        EXPECT_EQ(mPid, daemonPid());
        EXPECT_TRUE(eventually([&] { return countFds(mPid) == mFds; }));
        expectEverythingWorks();
    }

    pid_t mPid = 0;
    size_t mFds = 0;
};

TEST_F(FaultsTest, LogOfHundredMegabytesIsReadThroughOneBuffer) {
    const std::string call =
            "    outgoing transaction 1: 00000000abcdef01 from 4000001:4000001 to 4000002:4000003 "
            "code 7 flags 10 pri 0 r1 elapsed 5000ms";
    const std::string log = "/tmp/other-log";
    outputOf("{ yes 'proc 1000\n" + call + "' | head -c 100000000; echo; echo 'proc 4000001\n" +
             call + "'; } >" + log);
    withLog(log, [&] { EXPECT_EQ(1U, ask({"getTransaction", "4000001"})["line"].size()); });
    // Records are smaller than their lines, and nothing keeps them.
    if (!kIsSanitized) {
        EXPECT_GT(150'000, std::stoi(statusOf(mPid, "VmHWM")));
        EXPECT_GT(50'000, std::stoi(statusOf(mPid, "VmRSS")));
    }
    std::filesystem::remove(log);
}

// An answer is refused whole for a text that ends in the middle of a sequence, which only a name in
// a list can do. A report line goes as it is; libbinder then reads on behind the cut-off sequence,
// so that of such a line only the beginning can be compared.
TEST_F(FaultsTest, HostileNamesDoNotKeepTheAnswerBack) {
    const struct {
        const char* printed;
        const char* sender;
        const char* inLine;
    } names[] = {{"a\\nBinder Info:\\nb", "a\nBinder Info:\nb", "(a\nBinder Info:\nb):"},
                 {"a(b):1(c) to 2", "a(b):1(c) to 2", "(a(b):1(c) to 2):"},
                 {"\\342\\202\\254", "\342\202\254", "(\342\202\254):"},
                 {"cut\\342\\202", "cut\357\277\275\357\277\275", "(cut"}};
    for (const auto& name : names) {
        const pid_t pid = stageProcess(
                "--serve fault.self --main self:fault.self --cmdline "
                "\"$(printf '" +
                std::string(name.printed) +
                "')\" --thread-name "
                "\"$(printf 't(\\377\\nx')\"");
        EXPECT_TRUE(eventually([&] {
            const Calls calls = callsOf(pid, "outgoing");
            return calls.size() == 1 && calls[0].toPid == pid;
        }));
        const std::string number = std::to_string(pid);
        const Answer answer = ask({"getTransaction", number});
        EXPECT_EQ(Texts{name.sender}, answer["sender"]) << name.printed;
        EXPECT_THAT(answer["line"],
                    ElementsAre(StartsWith("outgoing transaction from " + number + name.inLine)));
        killAndReap(pid);
    }
}

TEST_F(FaultsTest, TwoHundredCallsWaitForTenThreads) {
    const char* const fifo = "/tmp/log-fifo";
    ASSERT_EQ(0, mkfifo(fifo, 0600));
    std::vector<std::future<Answer>> answers;
    // Each call is held while it opens the log.
    withLog(fifo, [&] {
        for (int i = 0; i < 200; ++i) {
            answers.push_back(std::async(std::launch::async, [this] {
                return ask({"getTransaction", "1"});
            }));
        }
        // The pool's ten, its first one and the main thread.
        EXPECT_TRUE(eventually([&] { return threadsIn(mPid, "wait_for_partner") == 12; }));
        usleep(500'000);
        EXPECT_EQ("12", statusOf(mPid, "Threads"));
    });
    std::ofstream(fifo).close();
}

TEST_F(FaultsTest, CallOfAClientThatDiesIsFinished) {
    const std::string file = "/tmp/dead-client";
    const std::string crowd = std::to_string(stageCrowd());
    const pid_t client = startInBackground(STALLSCOPECTL " dump-list " + file + " subject " +
                                           crowd + " " + crowd);
    EXPECT_TRUE(eventually([&] { return !readFile(file).empty(); }));
    killAndReap(client);
    EXPECT_EQ(0U, count(readFile(file), "\n----- end ")) << "too late to see it die";
    EXPECT_TRUE(eventually(isDaemonIdle));
    EXPECT_EQ(2U, count(readFile(file), "\n----- pid " + crowd));
    EXPECT_EQ(2U, count(readFile(file), "\n----- end " + crowd + " -----\n"));
    killAndReap(std::stoi(crowd));
}

}  // namespace
}  // namespace android::test
