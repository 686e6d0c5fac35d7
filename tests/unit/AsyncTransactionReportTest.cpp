#include "diagnostics/AsyncTransactionReport.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

namespace {

std::string pending(int fromPid, int fromTid, int toPid, int milliseconds) {
    std::string line = outgoing(fromPid, fromTid, toPid, 0, milliseconds);
    return line.replace(line.find("outgoing"), 8, "pending async");
}

std::string reported(int fromTid, const std::string& thread, const std::string& elapsed) {
    return "pending async transaction from 10(app):" + std::to_string(fromTid) + "(" + thread +
           ") to 20(media):0(unknown) elapsed: " + elapsed + " s code: 3";
}

}  // namespace

class AsyncReport : public FakeDevice {
  protected:
    AsyncReport() {
        addProcess(10, "app", "t10\n", "0");
        addProcess(20, "media", "t20\n", "0");
        addProcess(30, "hardware", "t30\n", "-1000");
        addProcFile("11/comm", "t11\n");
    }

    bool report(const std::string& log) {
        BinderLogParser parser = parse(log);
        return getAsyncBinderTransactions(10, 20, parser, &lines, &java, &native);
    }

    Texts lines, java, native;
};

TEST_F(AsyncReport, ReportsTheSendersCallsAndFollowsTheReceiverOnce) {
    EXPECT_TRUE(report("proc 20\n" + pending(10, 10, 20, 2500) + pending(10, 11, 20, 1) +
                       outgoing(20, 20, 30, 30, 1)));
    EXPECT_EQ(lines,
              (Texts{reported(10, "t10", "2.500000"),
                     "outgoing transaction from 20(media):20(t20) to 30(hardware):30(t30) elapsed: "
                     "0.001000 s code: 3",
                     reported(11, "t11", "0.001000")}));
    EXPECT_EQ(java, Texts{"20"});
    EXPECT_EQ(native, Texts{"30"});
}

TEST_F(AsyncReport, TracesAlsoWhatItLeavesOut) {
    EXPECT_FALSE(report("proc 20\n" + pending(11, 11, 20, 9000) + pending(10, 10, 21, 9000) +
                        pending(10, 10, 20, 1)));
    EXPECT_EQ(lines, Texts{reported(10, "t10", "0.001000")});
    const std::string name = "getAsyncBinderTransactions";
    std::vector<LogEntry> log = takeLog();
    size_t traced = 0;
    for (const LogEntry& entry : log) {
        traced += entry.text.rfind(name + ":LINE: Aync transaction line:  pending async "
                                          "transaction from 1",
                                   0) == 0
                          ? 1
                          : 0;
    }
    EXPECT_EQ(traced, 3u);
    // The receiver's class is said in the name of the step that lists it.
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 1], debug("addPidToList", "20 is Java process"));
}

TEST_F(AsyncReport, ReturnsTheVerdictOfAnyMatchingCall) {
    struct {
        std::string log;
        bool isBlocked;
    } rows[] = {
            {pending(10, 10, 20, 2000), false},
            {pending(10, 10, 20, 2001), true},
            {pending(10, 11, 20, 9000), false},
            {pending(11, 11, 20, 9000), false},
            {pending(10, 10, 21, 9000), false},
            {pending(10, 10, 20, 1) + pending(10, 10, 20, 2001), true},
            {pending(10, 10, 20, 2001) + pending(10, 10, 20, 1), true},
    };
    // Whatever the receiver is.
    for (const char* adj : {"0", "-1000", "-950", "1001"}) {
        addProcFile("20/oom_score_adj", adj);
        for (const auto& row : rows) {
            EXPECT_EQ(report("proc 20\n" + row.log), row.isBlocked) << adj << row.log;
        }
    }
}

TEST_F(AsyncReport, LeavesOutReceiversOfNoListedClass) {
    for (const char* adj : {"-950", "-901", "1001"}) {
        addProcFile("20/oom_score_adj", adj);
        lines.clear();
        report("proc 20\n" + pending(10, 10, 20, 1) + outgoing(20, 20, 30, 30, 1));
        EXPECT_EQ(lines.size(), 1u);
        EXPECT_EQ(takeLog().size(), 2u);  // the trace of the line, and comm of thread 0
    }
    EXPECT_EQ(java, Texts{});
    EXPECT_EQ(native, Texts{});
}

TEST_F(AsyncReport, FindsTheReceiverInEitherList) {
    native = {"20"};
    report("proc 20\n" + pending(10, 10, 20, 1));
    EXPECT_EQ(takeLog().back(), debug("addPidToList", "20 is in list"));
    EXPECT_EQ(java, Texts{});
}

TEST_F(AsyncReport, HasNothingToSayOfAnIdleOrUnknownProcess) {
    EXPECT_FALSE(report("proc 20\n" + outgoing(20, 20, 30, 30, 1)));
    EXPECT_TRUE(takeLog().empty());
    EXPECT_FALSE(report("proc 10\n"));
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{error("getAsyncBinderTransactions",
                                                     "No transactions found for pid 20")});
}

}  // namespace android::test
