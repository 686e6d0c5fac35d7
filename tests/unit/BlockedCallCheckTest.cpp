#include "diagnostics/BlockedCallCheck.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

class BlockedCheck : public FakeDevice {
  protected:
    BlockedCheck() {
        addProcFile("20/oom_score_adj", "-1000");
        addProcFile("30/oom_score_adj", "0");
    }

    bool check(const std::string& log, int thresholdSecs) {
        BinderLogParser parser = parse(log);
        return checkBinderTransactions(10, parser, thresholdSecs, &lines, &visited);
    }

    Texts lines, visited;
};

TEST_F(BlockedCheck, DecidesByThresholdThreadAndReceiver) {
    struct {
        std::string call;
        const char* adj;
        int threshold;
        bool isBlocked;
        bool isFollowed;
    } rows[] = {
            {outgoing(10, 10, 20, 20, 5000), "-1000", 3, true, true},
            {outgoing(10, 10, 20, 20, 5000), "-1000", 5, false, false},
            {outgoing(10, 10, 20, 20, 5001), "-1000", 5, true, true},
            {outgoing(10, 10, 20, 20, 1), "-1000", 0, true, true},
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
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        lines.clear();
        visited.clear();
        addProcFile("20/oom_score_adj", row.adj);
        EXPECT_EQ(check("proc 10\n" + row.call, row.threshold), row.isBlocked);
        EXPECT_EQ(lines.size(), 1u);
        EXPECT_EQ(visited, row.isFollowed ? Texts{"20"} : Texts{});
    }
}

TEST_F(BlockedCheck, WritesPlainLinesAlongTheLongWaits) {
    EXPECT_FALSE(check("proc 10\n" + outgoing(10, 11, 20, 21, 2500, "7") + "proc 20\n" +
                               outgoing(20, 20, 30, 0, 9000) + outgoing(20, 21, 40, 0, 1),
                       2));
    EXPECT_EQ(lines, (Texts{"outgoing from 10 : 11 to 20 : 21 elapsed: 2.500000 s code: 7",
                            "outgoing from 20 : 20 to 30 : 0 elapsed: 9.000000 s code: 3",
                            "outgoing from 20 : 21 to 40 : 0 elapsed: 0.001000 s code: 3"}));
    EXPECT_EQ(visited, (Texts{"20", "30"}));
    const std::string name = "checkBinderTransactions";
    EXPECT_EQ(takeLog(), (std::vector<LogEntry>{debug(name, "transaction :  " + lines[0]),
                                                debug(name, "transaction :  " + lines[1]),
                                                error(name, "No transactions found for pid 30"),
                                                debug(name, "transaction :  " + lines[2])}));
}

TEST_F(BlockedCheck, NamesEveryStuckMainThreadInTheLog) {
    addProcFile("30/oom_score_adj", "-900");
    EXPECT_TRUE(check("proc 10\n" + outgoing(10, 10, 20, 20, 9000) + "proc 20\n" +
                              outgoing(20, 20, 30, 30, 9000) + "proc 30\n",
                      2));
    std::vector<LogEntry> log = takeLog();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[1], debug("checkBinderTransactions",
                            "Pid(10) Binder Call Native Process Pid(20) Blocked"));
    EXPECT_EQ(log[3], debug("checkBinderTransactions",
                            "Pid(20) Binder Call System_Server Pid(30) Blocked"));
}

TEST_F(BlockedCheck, StopsInACycleAfterTheStartWasReportedTwice) {
    EXPECT_TRUE(check("proc 10\n" + outgoing(10, 10, 20, 20, 9000) + "proc 20\n" +
                              outgoing(20, 20, 10, 10, 9000),
                      2));
    EXPECT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_EQ(visited, (Texts{"20", "10"}));
}

TEST_F(BlockedCheck, LeavesOutWhatTheCallerHasVisited) {
    visited = {"20"};
    EXPECT_TRUE(check("proc 10\n" + outgoing(10, 10, 20, 20, 9000) + "proc 20\n" +
                              outgoing(20, 20, 30, 30, 9000),
                      2));
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_EQ(visited, Texts{"20"});
    EXPECT_FALSE(check("proc 20\n", 2));
}

}  // namespace android::test
