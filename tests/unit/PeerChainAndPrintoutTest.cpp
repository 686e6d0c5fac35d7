#include "diagnostics/BinderInfoPrintout.h"
#include "diagnostics/BinderPeerChain.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

class PeerChain : public FakeDevice {
  protected:
    PeerChain() {
        addProcess(10, "app", "t10\n", "0");
        addProcess(20, "media", "t20\n", "0");
        addProcess(30, "hardware", "t30\n", "0");
    }

    void walk(const std::string& log) {
        BinderLogParser parser = parse(log);
        getBinderToProcess(10, parser, "tag", &pids, &cmdlines, &lines);
    }

    Texts pids, cmdlines, lines;
};

TEST_F(PeerChain, ReportsToTheCallerAndToTheSystemLog) {
    walk("proc 10\n" + outgoing(10, 10, 20, 20, 1) + outgoing(10, 10, 20, 20, 2) + "proc 20\n" +
         outgoing(20, 20, 30, 30, 3));
    EXPECT_EQ(lines,
              (Texts{"outgoing transaction from 10(app):10(t10) to 20(media):20(t20) elapsed: "
                     "0.001000 s code: 3",
                     "outgoing transaction from 20(media):20(t20) to 30(hardware):30(t30) elapsed: "
                     "0.003000 s code: 3",
                     "outgoing transaction from 10(app):10(t10) to 20(media):20(t20) elapsed: "
                     "0.002000 s code: 3"}));
    EXPECT_EQ(pids, (Texts{"20", "30"}));
    EXPECT_EQ(cmdlines, (Texts{"media", "hardware"}));
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{system("tag", "Pid 10 Binder Info"), system("tag", lines[0]),
                                     system("tag", "Pid 20 Binder Info"), system("tag", lines[1]),
                                     system("tag", "No transactions found for pid 30"),
                                     system("tag", lines[2]),
                                     debug("getBinderToProcess", "20 is in list")}));
}

TEST_F(PeerChain, FollowsOneProcessOfEachCommandLine) {
    addProcess(40, "media", "t40\n", "0");
    // Two that have vanished are both "unknown".
    walk("proc 10\n" + outgoing(10, 10, 20, 20, 1) + outgoing(10, 10, 40, 40, 1) +
         outgoing(10, 10, 98, 98, 1) + outgoing(10, 10, 99, 99, 1));
    EXPECT_EQ(pids, (Texts{"20", "98"}));
    EXPECT_EQ(cmdlines, (Texts{"media", "unknown"}));
    EXPECT_EQ(lines.size(), 4u);
}

TEST_F(PeerChain, RecordsOnlyWhomItFollows) {
    walk("proc 10\n" + outgoing(11, 11, 20, 20, 1) + outgoing(10, 10, 10, 10, 1) +
         outgoing(10, 10, 0, 0, 1));
    EXPECT_EQ(lines.size(), 3u);
    EXPECT_EQ(pids, Texts{});
    pids = {"20"};
    takeLog();
    walk("proc 10\n" + outgoing(11, 11, 20, 20, 1));
    EXPECT_EQ(takeLog().back(), debug("getBinderToProcess", "20 is in list"));
}

TEST_F(PeerChain, IsOneLineInTheSystemLogForAnIdleOrUnknownProcess) {
    walk("proc 10\n");
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{system("tag", "Pid 10 Binder Info")});
    walk("proc 11\n");
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{system("tag", "No transactions found for pid 10")});
}

using BinderInfoPrintout = FakeDevice;

TEST_F(BinderInfoPrintout, CopiesEveryTransactionToTheSystemLog) {
    BinderLogParser parser = parse("proc 10\n" + outgoing(10, 11, 20, 0, 1500) +
                                   "incoming transaction from 1:2 to 10:10 code 4 elapsed 0ms\n"
                                   "pending async transaction %s%n\n");
    takeLog();
    printfBinderInfo(10, parser, "a tag");
    EXPECT_EQ(
            takeLog(),
            (std::vector<LogEntry>{
                    system("a tag", "Pid 10 Binder Info"),
                    system("a tag", "outgoing from 10 : 11 to 20 : 0 elapsed: 1.500000 s code: 3"),
                    system("a tag", "incoming from 1 : 2 to 10 : 10 elapsed: 0.000000 s code: 4"),
                    system("a tag",
                           "pending async from 0 : 0 to 0 : 0 elapsed: 0.000000 s code: 0")}));
}

TEST_F(BinderInfoPrintout, AlwaysWritesTheHeader) {
    BinderLogParser parser = parse("proc 10\n");
    printfBinderInfo(10, parser, "");
    printfBinderInfo(-1, parser, "%s");
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{
                      system("", "Pid 10 Binder Info"), system("%s", "Pid -1 Binder Info"),
                      error("printfBinderInfo", "No transactions found for pid -1")}));
}

}  // namespace android::test
