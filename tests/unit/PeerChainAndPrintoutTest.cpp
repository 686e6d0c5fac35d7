#include "diagnostics/BinderInfoPrintout.h"
#include "diagnostics/BinderPeerChain.h"
#include "tests/support/FakeDevice.h"

namespace android::test {

class PeerChain : public FakeDevice {
  protected:
    PeerChain() { addProcesses({10, 11, 20, 30, 40}, "0"); }

    void walk(const std::string& log) {
        BinderLogParser parser = parse("proc 10\n" + log);
        getBinderToProcess(10, parser, "tag", &pids, &cmdlines, &lines);
    }

    Texts pids, cmdlines, lines;
};

TEST_F(PeerChain, ReportsToTheCallerAndToTheSystemLog) {
    Transaction calls[] = {{"outgoing", 10, 10, 20, 20, 1},
                           {"outgoing", 20, 20, 30, 30, 3},
                           {"outgoing", 11, 11, 20, 20, 2}};
    walk(calls[0].logged() + calls[2].logged() + "proc 20\n" + calls[1].logged());
    EXPECT_EQ(lines, (Texts{calls[0].reported(), calls[1].reported(), calls[2].reported()}));
    EXPECT_EQ(pids, (Texts{"20", "30"}));
    EXPECT_EQ(cmdlines, (Texts{"p20", "p30"}));
    EXPECT_EQ(takeLog(), (Texts{"W 3/tag: Pid 10 Binder Info", "W 3/tag: " + lines[0],
                                "W 3/tag: Pid 20 Binder Info", "W 3/tag: " + lines[1],
                                "W 3/tag: No transactions found for pid 30", "W 3/tag: " + lines[2],
                                "D getBinderToProcess: 20 is in list"}));
}

TEST_F(PeerChain, FollowsOnlyOwnCallsToOneProcessOfEachCommandLine) {
    write("/proc/40/cmdline", "p20");
    // Two that have vanished are both "unknown".
    walk(outgoing(11, 11, 30, 30, 1) + outgoing(10, 10, 10, 10, 1) + outgoing(10, 10, 0, 0, 1) +
         outgoing(10, 10, 20, 20, 1) + outgoing(10, 10, 40, 40, 1) + outgoing(10, 10, 98, 98, 1) +
         outgoing(10, 10, 99, 99, 1));
    EXPECT_EQ(pids, (Texts{"20", "98"}));
    EXPECT_EQ(cmdlines, (Texts{"p20", "unknown"}));
    EXPECT_EQ(lines.size(), 7u);
}

using BinderInfoPrintout = FakeDevice;

TEST_F(BinderInfoPrintout, CopiesEveryTransactionToTheSystemLog) {
    BinderLogParser parser = parse("proc 10\n" + outgoing(10, 11, 20, 0, 1500) +
                                   "incoming transaction from 1:2 to 10:10 code 4 elapsed 0ms\n"
                                   "pending async transaction %s%n\n");
    printfBinderInfo(10, parser, "%s");
    EXPECT_EQ(takeLog(),
              (Texts{"W 3/%s: Pid 10 Binder Info",
                     "W 3/%s: outgoing from 10 : 11 to 20 : 0 elapsed: 1.500000 s code: 3",
                     "W 3/%s: incoming from 1 : 2 to 10 : 10 elapsed: 0.000000 s code: 4",
                     "W 3/%s: pending async from 0 : 0 to 0 : 0 elapsed: 0.000000 s code: 0"}));
}

}  // namespace android::test
