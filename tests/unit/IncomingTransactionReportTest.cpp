#include "diagnostics/IncomingTransactionReport.h"

#include "tests/support/FakeDevice.h"

namespace android::test {

using IncomingReport = FakeDevice;

TEST_F(IncomingReport, ListsAndLogsASenderForEachOfItsCalls) {
    addProcesses({10, 20, 21}, "0");
    addProcesses({30}, "-1000");
    addProcesses({40}, "-950");
    addProcesses({50}, "1001");
    std::string log = "proc 20\n" + outgoing(20, 20, 10, 10, 1);
    Texts expected;
    for (int sender : {10, 30, 10, 40, 50, 0}) {
        Transaction call = {"incoming", sender, sender, 20, 21, 1500};
        log += call.logged();
        expected.push_back(call.reported());
    }
    BinderLogParser parser = parse(log + "proc 10\n" + expected[1]);
    Texts lines, java, native;
    getBinderThreadFullInfo(20, parser, &lines, &java, &native);
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(java, (Texts{"10", "10"}));
    EXPECT_EQ(native, Texts{"30"});
    const std::string line = "D incoming transaction line:  ";
    EXPECT_EQ(takeLog("D"),
              loggedBy("getBinderThreadFullInfo",
                       {line + lines[0], "D 10 is Java process", line + lines[1],
                        "D 30 is Native process", line + lines[2], "D 10 is Java process",
                        line + lines[3], line + lines[4], line + lines[5]}));
}

}  // namespace android::test
