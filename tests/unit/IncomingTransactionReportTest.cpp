#include "diagnostics/IncomingTransactionReport.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

class IncomingReport : public FakeDevice {
  protected:
    static std::string incoming(int fromPid, int fromTid) {
        std::string line = outgoing(fromPid, fromTid, 20, 21, 1500);
        return line.replace(line.find("outgoing"), 8, "incoming");
    }

    Texts lines, java, native;
};

TEST_F(IncomingReport, ListsASenderForEachOfItsCalls) {
    addProcess(10, "app", "t10\n", "0");
    addProcess(20, "media", "t20\n", "0");
    addProcFile("21/comm", "t21\n");
    addProcess(30, "native", "t30\n", "-1000");
    addProcess(40, "shell", "t40\n", "-950");
    addProcess(50, "odd", "t50\n", "1001");
    BinderLogParser parser = parse("proc 20\n" + incoming(10, 10) + incoming(30, 30) +
                                   incoming(10, 10) + incoming(40, 40) + incoming(50, 50) +
                                   outgoing(20, 20, 10, 10, 1) + "proc 10\n" + incoming(30, 30));
    getBinderThreadFullInfo(20, parser, &lines, &java, &native);
    auto line = [](const std::string& from, const std::string& thread) {
        return "incoming transaction from " + from + ":" + thread +
               " to 20(media):21(t21) elapsed: 1.500000 s code: 3";
    };
    EXPECT_EQ(lines, (Texts{line("10(app)", "10(t10)"), line("30(native)", "30(t30)"),
                            line("10(app)", "10(t10)"), line("40(shell)", "40(t40)"),
                            line("50(odd)", "50(t50)")}));
    EXPECT_EQ(java, (Texts{"10", "10"}));
    EXPECT_EQ(native, Texts{"30"});
    const std::string name = "getBinderThreadFullInfo";
    std::vector<LogEntry> log = takeLog();
    ASSERT_EQ(log.size(), 8u);
    EXPECT_EQ(log[0], debug(name, "incoming transaction line:  " + lines[0]));
    EXPECT_EQ(log[1], debug(name, "10 is Java process"));
    EXPECT_EQ(log[3], debug(name, "30 is Native process"));
    EXPECT_EQ(log[7], debug(name, "incoming transaction line:  " + lines[4]));
}

TEST_F(IncomingReport, ReportsASenderWithoutAPidButClassesItNot) {
    BinderLogParser parser = parse("proc 20\n" + incoming(0, 0));
    getBinderThreadFullInfo(20, parser, &lines, &java, &native);
    EXPECT_EQ(lines, Texts{"incoming transaction from 0(unknown):0(unknown) to "
                           "20(unknown):21(unknown) elapsed: 1.500000 s code: 3"});
    EXPECT_TRUE(java.empty() && native.empty());
}

TEST_F(IncomingReport, HasNothingToSayOfAnIdleOrUnknownProcess) {
    BinderLogParser parser = parse("proc 20\n" + outgoing(20, 20, 10, 10, 1));
    getBinderThreadFullInfo(20, parser, &lines, &java, &native);
    EXPECT_TRUE(takeLog().empty());
    getBinderThreadFullInfo(10, parser, &lines, &java, &native);
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{error("getBinderThreadFullInfo",
                                                     "No transactions found for pid 10")});
    EXPECT_TRUE(lines.empty());
}

}  // namespace android::test
