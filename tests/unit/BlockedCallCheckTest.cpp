#include "diagnostics/BlockedCallCheck.h"

#include "tests/support/FakeDevice.h"

namespace android::test {

class BlockedCheck : public FakeDevice {
  protected:
    BlockedCheck() {
        addProcesses({20}, "-1000");
        addProcesses({30}, "-900");
    }

    // Checks pid 10.
    bool check(const std::string& log, int thresholdSecs) {
        BinderLogParser parser = parse("proc 10\n" + log);
        lines = {};
        return checkBinderTransactions(10, parser, thresholdSecs, &lines, &visited);
    }

    Texts lines, visited;
};

TEST_F(BlockedCheck, DecidesByThresholdThreadAndReceiver) {
    const std::tuple<std::string, const char*, int, bool, bool> rows[] = {
            {outgoing(10, 10, 20, 20, 5000), "-1000", 3, true, true},
            {outgoing(10, 10, 20, 20, 5000), "-1000", 5, false, false},
            {outgoing(10, 10, 20, 20, 5001), "-1000", 5, true, true},
            {outgoing(10, 10, 20, 20, 0), "-1000", 0, false, false},
            {outgoing(10, 10, 20, 20, 0), "-1000", -1, true, true},
            {outgoing(10, 10, 20, 20, 5000), "-900", 3, true, true},
            {outgoing(10, 10, 20, 20, 5000), "0", 3, false, true},
            {outgoing(10, 10, 20, 20, 5000), "-950", 3, false, true},
            {outgoing(10, 11, 20, 20, 5000), "-1000", 3, false, true},
            {outgoing(11, 10, 20, 20, 5000), "-1000", 3, false, false},
            {outgoing(10, 10, 10, 20, 5000), "-1000", 3, false, false},
            {outgoing(10, 10, 0, 20, 5000), "-1000", 3, false, false},
    };
    for (const auto& [call, adj, threshold, isBlocked, isFollowed] : rows) {
        visited = {};
        write("/proc/20/oom_score_adj", adj);
        EXPECT_EQ(check(call, threshold), isBlocked) << call << adj;
        EXPECT_EQ(lines.size(), 1u);
        EXPECT_EQ(visited, isFollowed ? Texts{"20"} : Texts{}) << call << adj;
    }
}

TEST_F(BlockedCheck, WritesPlainLinesAlongTheLongWaitsAndLogsEveryStuckMainThread) {
    EXPECT_TRUE(check(outgoing(10, 10, 20, 21, 2500) + "proc 20\n" + outgoing(20, 20, 30, 0, 9000) +
                              outgoing(20, 21, 40, 0, 1),
                      2));
    EXPECT_EQ(lines, (Texts{"outgoing from 10 : 10 to 20 : 21 elapsed: 2.500000 s code: 3",
                            "outgoing from 20 : 20 to 30 : 0 elapsed: 9.000000 s code: 3",
                            "outgoing from 20 : 21 to 40 : 0 elapsed: 0.001000 s code: 3"}));
    EXPECT_EQ(visited, (Texts{"20", "30"}));
    EXPECT_EQ(takeLog(),
              loggedBy("checkBinderTransactions",
                       {"D transaction :  " + lines[0],
                        "D Pid(10) Binder Call Native Process Pid(20) Blocked",
                        "D transaction :  " + lines[1],
                        "D Pid(20) Binder Call System_Server Pid(30) Blocked",
                        "E No transactions found for pid 30", "D transaction :  " + lines[2]}));
}

TEST_F(BlockedCheck, StopsInACycleAfterTheStartWasReportedTwice) {
    std::string log = outgoing(10, 11, 20, 20, 9000) + "proc 20\n" +
                      outgoing(20, 20, 10, 10, 9000) + outgoing(20, 20, 30, 30, 9000);
    // A wait down the chain is no verdict.
    EXPECT_FALSE(check(log, 2));
    EXPECT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_EQ(visited, (Texts{"20", "10", "30"}));
    // What the caller has visited is left out.
    check(log, 2);
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_EQ(visited.size(), 3u);
}

}  // namespace android::test
