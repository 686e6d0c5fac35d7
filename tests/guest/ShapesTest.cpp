// What each report says of each staged shape, against what the kernel and /proc say.

#include <algorithm>

#include "tests/guest/KernelCalls.h"
#include "tests/guest/Methods.h"

namespace android::test {
namespace {

Texts sorted(Texts texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

bool waitUntilOld(pid_t section, const std::string& type) {
    return eventually([&] {
        std::vector<Call> calls = callsOf(section, type);
        return std::all_of(calls.begin(), calls.end(),
                           [](auto& call) { return call.elapsed > 2.1; });
    });
}

struct Shape {
    const char* name;
    const char* asked;
    Texts callers;  // in the order in which their calls are reported
    Texts java;
    Texts native;
    bool isBlocked;  // once the calls are old enough

    friend std::ostream& operator<<(std::ostream& out, const Shape& s) { return out << s.name; }
};

class ShapeTest : public testing::TestWithParam<Shape> {
  protected:
    ShapeTest() : mHang(GetParam().name), mAsked(mHang[GetParam().asked]) {
        for (const std::string& caller : GetParam().callers) {
            EXPECT_TRUE(waitUntilOld(mHang[caller], "outgoing"));
            std::vector<Call> calls = callsOf(mHang[caller], "outgoing");
            mCalls.insert(mCalls.end(), calls.begin(), calls.end());
        }
        mPeers = mHang.texts(GetParam().java);
        for (const std::string& pid : mHang.texts(GetParam().native)) {
            mPeers.push_back(pid);
        }
    }

    void expectIncoming(pid_t pid);
    void expectPrintout(pid_t pid);

    StagedHang mHang;
    pid_t mAsked;
    std::vector<Call> mCalls;
    Texts mPeers;
};

// Everybody who has a call in the process; those who are gone count as native.
void ShapeTest::expectIncoming(pid_t pid) {
    std::vector<Call> calls = callsOf(pid, "incoming");
    Texts java, native;
    for (const Call& call : calls) {
        std::string sender = std::to_string(call.fromPid);
        std::string adj = readFile("/proc/" + sender + "/oom_score_adj");
        (adj.empty() || adj == "-1000\n" ? native : java).push_back(sender);
    }
    Answer answer = kIncoming(pid);
    EXPECT_EQ(namedLines("incoming transaction", calls), masked(answer.lists[0]));
    EXPECT_EQ(java, answer.lists[1]);
    EXPECT_EQ(native, answer.lists[2]);
}

void ShapeTest::expectPrintout(pid_t pid) {
    takeDaemonLog();
    kPrintout(pid);
    Texts expected = {kPrintout.announcement(pid),
                      "W 3/hang: Pid " + std::to_string(pid) + " Binder Info"};
    for (const std::string& line : plainLines(callsOf(pid))) {
        expected.push_back("W 3/hang: " + line);
    }
    EXPECT_EQ(expected, takeDaemonLog());
}

TEST_P(ShapeTest, EveryReportHasWhatTheKernelHas) {
    Answer outgoing = kOutgoing(mAsked);
    EXPECT_EQ(namedLines("outgoing transaction", mCalls), masked(outgoing.lists[0]));
    EXPECT_EQ(mHang.texts(GetParam().java), outgoing.lists[1]);
    EXPECT_EQ(mHang.texts(GetParam().native), outgoing.lists[2]);
    EXPECT_EQ(GetParam().isBlocked, outgoing.isBlocked);

    Answer check = kCheck(mAsked);
    EXPECT_EQ(plainLines(mCalls), masked(check.lists[0]));
    EXPECT_EQ(sorted(mPeers), sorted(check.lists[1]));
    EXPECT_EQ(GetParam().isBlocked, check.isBlocked);

    Answer peerChain = kPeerChain(mAsked);
    EXPECT_EQ(sorted(mPeers), sorted(peerChain.lists[0]));
    EXPECT_EQ(namedLines("outgoing transaction", mCalls), masked(peerChain.lists[2]));
    for (const auto& [name, pid] : mHang.pids) {
        SCOPED_TRACE(name);
        // The driver has nothing about a process that ended and left nobody with its descriptor.
        if (!callsOf(pid).empty()) {
            expectIncoming(pid);
            expectPrintout(pid);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
        Staged, ShapeTest,
        testing::Values(
                Shape{"system", "APP", {"APP"}, {"$SYSTEM"}, {}, true},
                Shape{"exhausted", "APP", {"APP"}, {}, {"$MEDIA"}, true},
                Shape{"cycle",
                      "CAMERA",
                      {"CAMERA", "AUDIO", "CAMERA"},
                      {},
                      {"$AUDIO", "$CAMERA"},
                      true},
                Shape{"self", "SELF", {"SELF"}, {}, {}, false},
                Shape{"parked", "WORKER", {"WORKER"}, {}, {"$HARDWARE"}, false},
                Shape{"vanished", "APP", {"APP", "MEDIA"}, {}, {"$MEDIA", "$HARDWARE"}, true},
                Shape{"shell", "APP", {"APP"}, {"$MONKEY"}, {"$SHELL"}, false}),
        [](const auto& shape) { return shape.param.name; });

TEST(OneWayTest, CallsThatWaitAreReportedWithTheirReceiversOwnCalls) {
    StagedHang hang("oneway");
    EXPECT_TRUE(waitUntilOld(hang["MEDIA"], "pending async"));
    std::vector<Call> calls = callsOf(hang["MEDIA"], "pending async");
    const Texts pending = namedLines("pending async transaction", calls);
    ASSERT_EQ(3U, pending.size());
    const Texts chain = namedLines("outgoing transaction", callsOf(hang["MEDIA"], "outgoing"));

    Answer answer;
    EXPECT_TRUE(sDaemon->getAsyncTransaction(hang["APP"], hang["MEDIA"], &answer.lists[0],
                                             &answer.lists[1], &answer.lists[2], &answer.isBlocked)
                        .isOk());
    EXPECT_EQ((Texts{pending[0], chain.at(0), pending[1], pending[2]}), masked(answer.lists[0]));
    EXPECT_EQ(Texts(), answer.lists[1]);
    EXPECT_EQ(hang.texts({"$MEDIA", "$HARDWARE"}), answer.lists[2]);
    EXPECT_TRUE(answer.isBlocked);
    answer = kAsync(hang["MEDIA"]);
    EXPECT_EQ(Texts(), answer.lists[0]) << "only the app has calls that wait";
    EXPECT_FALSE(answer.isBlocked);

    takeDaemonLog();
    kPrintout(hang["MEDIA"]);
    const Texts printout = takeDaemonLog();
    for (const std::string& line : plainLines(calls)) {
        EXPECT_TRUE(contains(printout, "W 3/hang: " + line));
    }
}

}  // namespace
}  // namespace android::test
