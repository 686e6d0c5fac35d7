// What the reports say and log of each staged hang, against what the kernel and /proc say.

#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>

#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

using testing::UnorderedElementsAreArray;

constexpr double kLong = 2.1;

// Once they have lasted so long.
std::vector<Call> longCallsOf(pid_t section, const std::string& type) {
    std::vector<Call> calls;
    EXPECT_TRUE(eventually([&] {
        calls = callsOf(section, type);
        return std::all_of(calls.begin(), calls.end(),
                           [](auto& call) { return call.elapsed > kLong; });
    }));
    return calls;
}

struct Shape {
    const char* name;
    const char* asked;
    Texts callers;  // in the order in which their calls are reported
    Texts java;
    Texts native;
    bool isBlocked;  // once the calls are old enough
};

const Shape kShapes[] = {
        {"system", "APP", {"APP"}, {"$SYSTEM"}, {}, true},
        {"chain", "APP", {"APP", "MEDIA"}, {}, {"$MEDIA", "$HARDWARE"}, true},
        {"exhausted", "APP", {"APP"}, {}, {"$MEDIA"}, true},
        {"cycle", "CAMERA", {"CAMERA", "AUDIO", "CAMERA"}, {}, {"$AUDIO", "$CAMERA"}, true},
        {"self", "SELF", {"SELF"}, {}, {}, false},
        {"parked", "WORKER", {"WORKER"}, {}, {"$HARDWARE"}, false},
        {"vanished", "APP", {"APP", "MEDIA"}, {}, {"$MEDIA", "$HARDWARE"}, true},
        {"shell", "APP", {"APP"}, {"$MONKEY"}, {"$SHELL"}, false}};

class ReportsTest : public testing::Test {
  protected:
    // With the lists in the order of the parameters.
    bool getTransaction(pid_t pid, std::vector<Texts>* lists) {
        Texts* l = lists->data();
        bool isBlocked = false;
        EXPECT_TRUE(mDaemon->getTransaction(pid, l, l + 1, l + 2, l + 3, l + 4, l + 5, l + 6, l + 7,
                                            &isBlocked)
                            .isOk());
        return isBlocked;
    }

    // Everybody who has a call in the process; those who are gone count as native.
    void expectIncoming(pid_t pid) {
        const std::vector<Call> calls = callsOf(pid, "incoming");
        Texts java, native, lines, javaPids, nativePids;
        for (const Call& call : calls) {
            const std::string sender = std::to_string(call.fromPid);
            const std::string adj = readFile("/proc/" + sender + "/oom_score_adj");
            (adj.empty() || adj == "-1000\n" ? native : java).push_back(sender);
        }
        EXPECT_TRUE(mDaemon->getThreadFullInfo(pid, &lines, &javaPids, &nativePids).isOk());
        EXPECT_EQ(namedLines(calls), masked(lines));
        EXPECT_EQ(java, javaPids);
        EXPECT_EQ(native, nativePids);
    }

    void expectPrintout(pid_t pid) {
        Texts expected = {"W 3/hang: Pid " + std::to_string(pid) + " Binder Info"};
        for (const std::string& line : plainLines(callsOf(pid))) {
            expected.push_back("W 3/hang: " + line);
        }
        takeDaemonLog();
        EXPECT_TRUE(mDaemon->printfProcBinderInfo(pid, "hang").isOk());
        EXPECT_EQ(expected, takeDaemonLog());
    }

    const sp<IStallscope> mDaemon = stallscope();
};

TEST_F(ReportsTest, EveryReportHasWhatTheKernelHas) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.name);
        const StagedHang hang(shape.name);
        const pid_t asked = hang[shape.asked];
        std::vector<Call> calls;
        for (const std::string& caller : shape.callers) {
            std::vector<Call> own = longCallsOf(hang[caller], "outgoing");
            calls.insert(calls.end(), own.begin(), own.end());
        }
        std::vector<Texts> expected(8), lists(8);
        expected[0] = namedLines(calls);
        expected[1] = hang.texts(shape.java);
        expected[2] = hang.texts(shape.native);
        for (const Call& call : calls) {
            expected[3].push_back(cmdlineOf(call.fromPid));
            expected[4].push_back(cmdlineOf(call.toPid));
            expected[6].push_back(std::to_string(call.fromPid));
            expected[7].push_back(std::to_string(call.toPid));
        }
        EXPECT_EQ(shape.isBlocked, getTransaction(asked, &lists));
        EXPECT_LT(kLong, std::stod(lists[5].at(0)));
        expected[5] = lists[5];
        lists[0] = masked(lists[0]);
        EXPECT_EQ(expected, lists);

        Texts peers = expected[1], lines, pids, checkedLines, checkedPids, cmdlines;
        peers.insert(peers.end(), expected[2].begin(), expected[2].end());
        bool isBlocked = !shape.isBlocked;
        EXPECT_TRUE(mDaemon->checkTransaction(asked, 2, &checkedLines, &checkedPids, &isBlocked)
                            .isOk());
        EXPECT_EQ(plainLines(calls), masked(checkedLines));
        EXPECT_THAT(checkedPids, UnorderedElementsAreArray(peers));
        EXPECT_EQ(shape.isBlocked, isBlocked);
        EXPECT_TRUE(mDaemon->getTransactProc(asked, "hang", &pids, &cmdlines, &lines).isOk());
        EXPECT_THAT(pids, UnorderedElementsAreArray(peers));
        EXPECT_EQ(namedLines(calls), masked(lines));
        for (const auto& [name, pid] : hang.pids) {
            SCOPED_TRACE(name);
            // The driver has nothing about one that ended and left nobody with its descriptor.
            if (!callsOf(pid).empty()) {
                expectIncoming(pid);
                expectPrintout(pid);
            }
        }
    }
}

TEST_F(ReportsTest, OneWayCallsThatWaitAreReportedWithTheirReceiversOwnCalls) {
    const StagedHang hang("oneway");
    const Texts pending = namedLines(longCallsOf(hang["MEDIA"], "pending async"));
    const Texts chain = namedLines(callsOf(hang["MEDIA"], "outgoing"));
    ASSERT_EQ(3U, pending.size());
    const Texts reported = {pending[0], chain.at(0), pending[1], pending[2]};
    for (bool isSender : {true, false}) {
        const pid_t sender = isSender ? hang["APP"] : hang["HARDWARE"];
        Texts lines, java, native;
        bool isBlocked = !isSender;
        EXPECT_TRUE(mDaemon->getAsyncTransaction(sender, hang["MEDIA"], &lines, &java, &native,
                                                 &isBlocked)
                            .isOk());
        EXPECT_EQ(isSender ? reported : Texts(), masked(lines));
        EXPECT_EQ(Texts(), java);
        EXPECT_EQ(isSender ? hang.texts({"$MEDIA", "$HARDWARE"}) : Texts(), native);
        EXPECT_EQ(isSender, isBlocked);
    }
    expectPrintout(hang["MEDIA"]);
}

TEST_F(ReportsTest, PeerChainIsLoggedUnderTheCallersTagAndBlockedFromTheGivenTimeOn) {
    const StagedHang hang("chain");
    const Texts app = namedLines(longCallsOf(hang["APP"], "outgoing"));
    const Texts media = namedLines(callsOf(hang["MEDIA"], "outgoing"));
    takeDaemonLog();
    Texts pids, cmdlines, lines;
    EXPECT_TRUE(mDaemon->getTransactProc(hang["APP"], "hang", &pids, &cmdlines, &lines).isOk());
    EXPECT_EQ((Texts{"/system/bin/mediaserver", "/vendor/bin/hw/android.hardware.camera.provider"}),
              cmdlines);
    EXPECT_EQ(hang.texts({"W 3/hang: Pid $APP Binder Info", "W 3/hang: " + app.at(0),
                          "W 3/hang: Pid $MEDIA Binder Info", "W 3/hang: " + media.at(0),
                          "W 3/hang: Pid $HARDWARE Binder Info"}),
              takeDaemonLog());
    for (int seconds : {2, 1000}) {
        bool isBlocked = false;
        EXPECT_TRUE(
                mDaemon->checkTransaction(hang["APP"], seconds, &lines, &pids, &isBlocked).isOk());
        EXPECT_EQ(seconds == 2, isBlocked);
    }
}

TEST_F(ReportsTest, UnreadableKernelLogIsLoggedAndLeavesTheListsAsTheyCame) {
    takeDaemonLog();
    EXPECT_EQ(0, umount(kKernelLog));
    EXPECT_EQ(0, unlink(kKernelLog));
    const std::vector<Texts> kept(8, {"kept"});
    std::vector<Texts> lists = kept;
    getTransaction(1, &lists);  // the stub's result is what was on the stack
    EXPECT_TRUE(mDaemon->getThreadFullInfo(1, &lists[0], &lists[1], &lists[2]).isOk());
    EXPECT_EQ(kept, lists);
    const std::string unopened = std::string("E parse: Can't open file: ") + kKernelLog;
    EXPECT_EQ((Texts{unopened, "E getTransaction: Parser file failed", unopened,
                     "E getThreadFullInfo: Parser file failed"}),
              takeDaemonLog());
    EXPECT_EQ("", output(std::string("cd /sys/kernel/debug/binder && touch ") + kKernelLog +
                         " && mount --bind transactions " + kKernelLog + " 2>&1"));
}

}  // namespace
}  // namespace android::test
