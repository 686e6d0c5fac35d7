// What the reports say and log of each staged hang, against what the kernel and /proc say.

#include <algorithm>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

using testing::UnorderedElementsAreArray;

constexpr double kLong = 2.1;

// Once they have lasted so long.
Calls longCallsOf(pid_t section, const std::string& type) {
    Calls calls;
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
    const char* isBlocked;  // once the calls are old enough
};

const Shape kShapes[] = {
        {"system", "APP", {"APP"}, {"$SYSTEM"}, {}, "true"},
        {"chain", "APP", {"APP", "MEDIA"}, {}, {"$MEDIA", "$HARDWARE"}, "true"},
        {"exhausted", "APP", {"APP"}, {}, {"$MEDIA"}, "true"},
        {"cycle", "CAMERA", {"CAMERA", "AUDIO", "CAMERA"}, {}, {"$AUDIO", "$CAMERA"}, "true"},
        {"self", "SELF", {"SELF"}, {}, {}, "false"},
        {"parked", "WORKER", {"WORKER"}, {}, {"$HARDWARE"}, "false"},
        {"vanished", "APP", {"APP", "MEDIA"}, {}, {"$MEDIA", "$HARDWARE"}, "true"},
        {"shell", "APP", {"APP"}, {"$MONKEY"}, {"$SHELL"}, "false"}};

class ReportsTest : public GuestTest {
  protected:
    void expectPrintout(pid_t pid) {
        Texts expected = {"W 3/hang: Pid " + std::to_string(pid) + " Binder Info"};
        for (const std::string& line : plainLines(callsOf(pid))) {
            expected.push_back("W 3/hang: " + line);
        }
        takeDaemonLog();
        ask({"printfProcBinderInfo", std::to_string(pid), "hang"});
        EXPECT_EQ(expected, takeDaemonLog());
    }

    // Everybody who has a call in the process; those who are gone count as native.
    void expectIncoming(pid_t pid) {
        const Calls calls = callsOf(pid, "incoming");
        Texts java, native;
        for (const BinderTransaction& call : calls) {
            const std::string adj = readFile(procFile(call.fromPid, "oom_score_adj"));
            Texts& list = adj.empty() || adj == "-1000\n" ? native : java;
            list.push_back(std::to_string(call.fromPid));
        }
        const Answer answer = ask({"getThreadFullInfo", std::to_string(pid)});
        EXPECT_EQ(namedLines(calls), masked(answer["line"]));
        EXPECT_EQ(java, answer["java"]);
        EXPECT_EQ(native, answer["native"]);
    }
};

TEST_F(ReportsTest, EveryReportHasWhatTheKernelHas) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.name);
        const StagedHang hang(shape.name);
        const std::string asked = std::to_string(hang[shape.asked]);
        Calls calls;
        for (const std::string& caller : shape.callers) {
            const Calls own = longCallsOf(hang[caller], "outgoing");
            calls.insert(calls.end(), own.begin(), own.end());
        }
        const Texts java = hang.texts(shape.java), native = hang.texts(shape.native);
        Texts peers = java;
        peers.insert(peers.end(), native.begin(), native.end());

        const Answer transaction = ask({"getTransaction", asked});
        EXPECT_EQ(shape.isBlocked, transaction.result);
        EXPECT_EQ(namedLines(calls), masked(transaction["line"]));
        EXPECT_EQ(java, transaction["java"]);
        EXPECT_EQ(native, transaction["native"]);
        for (size_t i = 0; i < calls.size(); ++i) {
            EXPECT_EQ(cmdlineOf(calls[i].fromPid), transaction["sender"].at(i));
            EXPECT_EQ(std::to_string(calls[i].toPid), transaction["receiverPid"].at(i));
        }
        const Answer check = ask({"checkTransaction", asked, "2"});
        EXPECT_EQ(shape.isBlocked, check.result);
        EXPECT_EQ(plainLines(calls), masked(check["line"]));
        EXPECT_THAT(check["visited"], UnorderedElementsAreArray(peers));
        const Answer chain = ask({"getTransactProc", asked, "hang"});
        EXPECT_EQ(namedLines(calls), masked(chain["line"]));
        EXPECT_THAT(chain["peer"], UnorderedElementsAreArray(peers));
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
    for (const char* sender : {"APP", "HARDWARE"}) {
        const bool isSender = sender == std::string("APP");
        const Answer answer = ask({"getAsyncTransaction", std::to_string(hang[sender]),
                                   std::to_string(hang["MEDIA"])});
        EXPECT_EQ(isSender ? Texts({pending[0], chain.at(0), pending[1], pending[2]}) : Texts(),
                  masked(answer["line"]));
        EXPECT_EQ(isSender ? hang.texts({"$MEDIA", "$HARDWARE"}) : Texts(), answer["native"]);
        EXPECT_EQ(isSender ? "true" : "false", answer.result);
    }
    expectPrintout(hang["MEDIA"]);
}

}  // namespace
}  // namespace android::test
