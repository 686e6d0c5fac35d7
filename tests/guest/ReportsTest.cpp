// What the daemon says and logs when it is asked about one staged hang.

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <set>

#include "tests/guest/KernelCalls.h"
#include "tests/guest/Methods.h"

namespace android::test {
namespace {

// All tests ask the same daemon, with the debug switch on.
class DaemonWithDebug : public testing::Environment {
    void SetUp() override {
        setDebugSwitch("1");
        sDaemon = stallscope();
    }
    void TearDown() override { sDaemon = nullptr; }
};
const testing::Environment* const sEnvironment =
        testing::AddGlobalTestEnvironment(new DaemonWithDebug);

class ChainTest : public testing::Test {
  protected:
    // One for all tests: staging takes long.
    static void SetUpTestSuite() { sHang = StagedHang("chain"); }
    void SetUp() override { takeDaemonLog(); }

    static StagedHang sHang;
};
StagedHang ChainTest::sHang;

TEST_F(ChainTest, IsReportedAndLoggedLineByLine) {
    const Texts lines = namedLines(
            "outgoing transaction",
            {callsOf(sHang["APP"], "outgoing").at(0), callsOf(sHang["MEDIA"], "outgoing").at(0)});
    const Texts peers = sHang.texts({"$MEDIA", "$HARDWARE"});
    const std::string media = "/system/bin/mediaserver";
    const std::string hardware = "/vendor/bin/hw/android.hardware.camera.provider";

    Answer answer = kOutgoing(sHang["APP"]);

    EXPECT_EQ(lines, masked(answer.lists[0]));
    const Texts elapsed = answer.lists[5];
    answer.lists.erase(answer.lists.begin());
    EXPECT_EQ((std::vector<Texts>{{},
                                  peers,
                                  {"com.example.camera", media},
                                  {media, hardware},
                                  elapsed,
                                  sHang.texts({"$APP", "$MEDIA"}),
                                  peers}),
              answer.lists);
    EXPECT_EQ(sHang.texts({"D getTransaction: StallScopeService getTransaction pid: $APP",
                           "D getBinderTransactions: transaction line:  " + lines[0],
                           "D getBinderTransactions: adj is -1000",
                           "D getBinderTransactions: $MEDIA is Native process",
                           "D getBinderTransactions: transaction line:  " + lines[1],
                           "D getBinderTransactions: adj is -1000",
                           "D getBinderTransactions: $HARDWARE is Native process"}),
              takeDaemonLog());

    answer = kPeerChain(sHang["APP"]);
    EXPECT_EQ((Texts{media, hardware}), answer.lists[1]);
    EXPECT_EQ(sHang.texts({"D getTransactProc: StallScopeService getTransactProc pid: $APP",
                           "W 3/hang: Pid $APP Binder Info", "W 3/hang: " + lines[0],
                           "W 3/hang: Pid $MEDIA Binder Info", "W 3/hang: " + lines[1],
                           "W 3/hang: Pid $HARDWARE Binder Info"}),
              takeDaemonLog());
}

TEST_F(ChainTest, MainThreadIsBlockedOnceItsCallIsOlderThanTwoSeconds) {
    pid_t late = startInBackground(
            "\"$STALLSCOPE_STAGE_BIN/stage_process\" --adj 0 "
            "--cmdline com.example.late --main call:stage.hardware");
    // Its first call is a short one, to servicemanager.
    EXPECT_TRUE(eventually([&] {
        const std::vector<Call> calls = callsOf(late);
        return calls.size() == 1 && calls[0].toPid == sHang["HARDWARE"];
    }));
    std::set<bool> verdicts;
    double age = callsOf(late)[0].elapsed;
    while (age < 2.5) {
        Answer report = kOutgoing(late);
        Answer check = kCheck(late);
        ASSERT_EQ(1U, report.lists[0].size());
        EXPECT_LE(age, elapsedIn(report.lists[0][0]));
        age = elapsedIn(report.lists[0][0]);
        EXPECT_EQ(age > 2, report.isBlocked) << age;
        EXPECT_EQ(Texts{std::to_string(age)}, report.lists[5]);
        verdicts.insert(report.isBlocked);
        age = elapsedIn(check.lists[0].at(0));
        EXPECT_EQ(age > 2, check.isBlocked) << age;
        EXPECT_EQ(age > 2, !check.lists[1].empty()) << age;
    }
    EXPECT_LE(age, callsOf(late)[0].elapsed);
    EXPECT_EQ((std::set<bool>{false, true}), verdicts);
}

TEST_F(ChainTest, UnknownPidIsLoggedAndLeavesTheListsAsTheyCame) {
    const Answer kept = {false, std::vector<Texts>(8, {"kept"})};
    for (const Method* method : kMethods) {
        EXPECT_EQ(kept.lists, (*method)(kNobody, kept).lists) << method->name;
        const Texts log = takeDaemonLog();
        EXPECT_EQ(method->announcement(kNobody), log.front());
        EXPECT_EQ(method->lastLogAboutNobody, log.back());
    }
}

// Takes the kernel's log away while it lives.
struct KernelLogTakenAway {
    KernelLogTakenAway() {
        EXPECT_EQ(0, umount(kKernelLog));
        EXPECT_EQ(0, unlink(kKernelLog));
    }
    ~KernelLogTakenAway() {
        unlink(kKernelLog);
        EXPECT_EQ("", output(std::string("cd /sys/kernel/debug/binder && touch ") + kKernelLog +
                             " && mount --bind transactions " + kKernelLog + " 2>&1"));
    }
};

TEST_F(ChainTest, UnreadableKernelLogIsLoggedAndLeavesTheListsAsTheyCame) {
    KernelLogTakenAway gone;
    const Answer kept = {false, std::vector<Texts>(8, {"kept"})};
    for (const Method* method : kMethods) {
        EXPECT_EQ(kept.lists, (*method)(sHang["APP"], kept).lists) << method->name;
        EXPECT_EQ((Texts{method->announcement(sHang["APP"]),
                         std::string("E parse: Can't open file: ") + kKernelLog,
                         std::string("E ") + method->name + ": Parser file failed"}),
                  takeDaemonLog());
    }
}

// Both calls are held while they open the log. One then reads all of it, the other nothing.
TEST_F(ChainTest, ConcurrentCallsReadTheLogEachByItself) {
    const std::string log = readFile(kKernelLog);
    KernelLogTakenAway gone;
    ASSERT_EQ(0, mkfifo(kKernelLog, 0600));
    auto report = [] { return kOutgoing(sHang["APP"]).lists[0].size(); };
    std::future<size_t> one = std::async(std::launch::async, report);
    std::future<size_t> other = std::async(std::launch::async, report);
    const std::string functions = "cat /proc/" + std::to_string(daemonPid()) + "/task/*/wchan";
    EXPECT_TRUE(eventually(
            [&] { return output(functions + " | grep -o wait_for_partner | wc -l") == "2"; }));
    writeFile(kKernelLog, log);
    unlink(kKernelLog);  // a call that comes later does not wait for ever
    EXPECT_EQ((std::multiset<size_t>{0, 2}), (std::multiset<size_t>{one.get(), other.get()}));
}

}  // namespace
}  // namespace android::test
