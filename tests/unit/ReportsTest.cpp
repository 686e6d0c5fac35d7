// The reports on more than scenes can tell.

#include <random>

#include "diagnostics/AdvancedLogging.h"
#include "service/StallScopeService.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/MethodCall.h"

namespace android::test {

class ReportsTest : public FakeDevice {
  protected:
    BinderLogParser parse(const std::string& log) {
        writeFile(kBinderLogPath, log);
        BinderLogParser parser;
        EXPECT_TRUE(parser.parse(kBinderLogPath));
        return parser;
    }
    int below(int bound) { return static_cast<int>(mRandom() >> 8) % bound; }
    std::string anyPid() { return std::to_string(below(7)); }

    std::minstd_rand mRandom;  // with its own seed
};

TEST_F(ReportsTest, FillNoOptionalListWhenOneIsMissing) {
    BinderLogParser parser = parse("proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    for (int missing = 0; missing < 5; ++missing) {
        Texts lines, java, native, list;
        Texts* lists[] = {&list, &list, &list, &list, &list};
        lists[missing] = nullptr;
        EXPECT_TRUE(getBinderTransactions(10, parser, &lines, &java, &native, lists[0], lists[1],
                                          lists[2], lists[3], lists[4]));
        EXPECT_EQ(lines.size() + list.size(), 1u);
    }
}

// A recursive walk needs more stack for this than a binder thread has on a device.
TEST_F(ReportsTest, FollowAChainOfAnyLength) {
    std::string log;
    for (int pid = 1; pid <= 4000; ++pid) {
        log += "proc " + std::to_string(pid) + "\n" + outgoing(pid, pid, pid + 1, 0, 1);
    }
    BinderLogParser parser = parse(log);
    Texts lines, visited;
    checkBinderTransactions(1, parser, 0, &lines, &visited);
    EXPECT_EQ(lines.size(), 4000u);
}

// On any calls between a few processes: chains, cycles, processes that call themselves or have
// gone. Each followed process is listed once, and each of its calls has a line.
TEST_F(ReportsTest, HaveALineForEachCallOfEachProcessThatTheyFollow) {
    const sp<StallScopeService> service = new StallScopeService;
    const char* const adjs[] = {"-1000", "-950", "-900", "0", "1001", "x", "999999999999"};
    const char* const types[] = {kOutgoing, kOutgoing, kIncoming, kPendingAsync};
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        std::string log;
        for (int pid = 0; pid < 7; ++pid) {
            std::filesystem::remove_all(procFile(pid, ""));
            if (below(5) > 0) {
                addProcess(pid, adjs[below(7)], below(3) > 0 ? "" : "com.android.commands.monkey");
            }
            for (int lines = below(5); lines > 0; --lines) {
                log += (lines == 4 ? "" : "proc " + std::to_string(pid) + "\n") + types[below(4)] +
                       " transaction 1: from " + (below(4) > 0 ? std::to_string(pid) : anyPid()) +
                       ":" + anyPid() + " to " + anyPid() + ":" + anyPid() + " code 3 elapsed " +
                       std::to_string(below(4)) + "000ms\n";
            }
        }
        const BinderLogParser parser = parse("proc 0\n" + log);
        const std::string pid = anyPid();
        // What they begin with, and which list tells whom they followed.
        const std::tuple<Texts, const char*, Texts> calls[] = {
                {{"getTransaction", pid}, kOutgoing, {"java", "native"}},
                {{"checkTransaction", pid, std::to_string(below(4) - 1)}, kOutgoing, {"visited"}},
                {{"getTransactProc", pid, "tag"}, kOutgoing, {"peer"}},
                {{"getThreadFullInfo", pid}, kIncoming, {}}};
        for (const auto& [words, type, lists] : calls) {
            const Answer answer = callMethod(*service, words);
            size_t lines = parser.getProcessTransactionsByType(std::stoi(pid), type).size();
            std::set<std::string> followed;
            for (const std::string& list : lists) {
                for (const std::string& each : answer[list]) {
                    EXPECT_TRUE(followed.insert(each).second) << words[0] << " " << each;
                    lines += parser.getProcessTransactionsByType(std::stoi(each), kOutgoing).size();
                }
            }
            EXPECT_EQ(answer["line"].size(), lines) << words[0];
        }
        takeEvents();
    }
}

}  // namespace android::test
