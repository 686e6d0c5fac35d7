#include "diagnostics/OutgoingTransactionReport.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

namespace {

// The lines of a log with the names that addPeers gave out: pid 10 is process "app" etc.
std::string line(const std::string& from, int fromTid, const std::string& to, int toTid,
                 const std::string& elapsed) {
    auto thread = [](int tid) {
        return std::to_string(tid) + (tid == 0 ? "(unknown)" : "(t" + std::to_string(tid) + ")");
    };
    return "outgoing transaction from " + from + ":" + thread(fromTid) + " to " + to + ":" +
           thread(toTid) + " elapsed: " + elapsed + " s code: 3";
}

const std::string kApp = "10(app)";
const std::string kMedia = "20(media)";
const std::string kHardware = "30(hardware)";

}  // namespace

class OutgoingReport : public FakeDevice {
  protected:
    OutgoingReport() {
        addProcess(10, "app", "t10\n", "0");
        addProcess(20, "media", "t20\n", "-1000");
        addProcess(30, "hardware", "t30\n", "-1000");
        addProcFile("11/comm", "t11\n");
        addProcFile("21/comm", "t21\n");
    }

    bool report(int pid, const std::string& log) {
        BinderLogParser parser = parse(log);
        return getBinderTransactions(pid, parser, &lines, &java, &native, nullptr, nullptr, nullptr,
                                     nullptr, nullptr);
    }

    Texts lines, java, native;
};

TEST_F(OutgoingReport, FollowsTheChainDepthFirst) {
    std::string log = "proc 10\n" + outgoing(10, 10, 20, 21, 3000) + outgoing(10, 11, 30, 30, 1) +
                      "proc 20\n" + outgoing(20, 21, 30, 0, 2500) + "proc 30\n";
    EXPECT_TRUE(report(10, log));
    EXPECT_EQ(lines, (Texts{line(kApp, 10, kMedia, 21, "3.000000"),
                            line(kMedia, 21, kHardware, 0, "2.500000"),
                            line(kApp, 11, kHardware, 30, "0.001000")}));
    EXPECT_EQ(java, Texts{});
    EXPECT_EQ(native, (Texts{"20", "30"}));
}

TEST_F(OutgoingReport, SaysWhatItDidInTheLog) {
    report(10, "proc 10\n" + outgoing(10, 10, 20, 20, 1) + outgoing(10, 10, 20, 20, 2));
    const std::string name = "getBinderTransactions";
    const std::string first = line(kApp, 10, kMedia, 20, "0.001000");
    const std::string second = line(kApp, 10, kMedia, 20, "0.002000");
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{
                      debug(name, "transaction line:  " + first), debug(name, "adj is -1000"),
                      debug(name, "20 is Native process"),
                      error(name, "No transactions found for pid 20"),
                      debug(name, "transaction line:  " + second), debug(name, "20 is in list")}));
}

TEST_F(OutgoingReport, ReturnsTheVerdictForTheMainThread) {
    struct {
        const char* what;
        std::string log;
        const char* mediaAdj;
        bool isBlocked;
    } rows[] = {
            {"2.0 s exactly", outgoing(10, 10, 20, 20, 2000), "-1000", false},
            {"just above", outgoing(10, 10, 20, 20, 2001), "-1000", true},
            {"another thread", outgoing(10, 11, 20, 20, 9000), "-1000", false},
            {"system server", outgoing(10, 10, 20, 20, 9000), "-900", true},
            {"any other Java process", outgoing(10, 10, 20, 20, 9000), "-899", false},
            {"shell", outgoing(10, 10, 20, 20, 9000), "-950", false},
            {"unknown", outgoing(10, 10, 20, 20, 9000), "1001", false},
            {"further down the chain",
             outgoing(10, 10, 20, 20, 1000) + "proc 20\n" + outgoing(20, 20, 30, 30, 9000), "-1000",
             false},
            {"a receiver that is listed already",
             outgoing(10, 11, 20, 20, 9000) + outgoing(10, 10, 20, 20, 9000), "-1000", false},
            {"one of several", outgoing(10, 10, 30, 30, 9000) + outgoing(10, 10, 20, 20, 1),
             "-1000", true},
            {"the sender is another", outgoing(11, 11, 20, 20, 9000), "-1000", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        java.clear();
        native.clear();
        addProcFile("20/oom_score_adj", row.mediaAdj);
        EXPECT_EQ(report(10, "proc 10\n" + row.log), row.isBlocked);
    }
}

TEST_F(OutgoingReport, ListsReceiversByTheirClass) {
    struct {
        const char* adj;
        const char* cmdline;
        Texts java, native;
        const char* said;
    } rows[] = {
            {"-1000", "x", {}, {"20"}, "20 is Native process"},
            {"-900", "x", {"20"}, {}, "20 is Java process"},
            {"1000", "x", {"20"}, {}, "20 is Java process"},
            {"-950", "com.android.commands.monkey", {"20"}, {}, "20 is shell process"},
            {"-950", "com.android.commands.monkeys", {}, {"20"}, "20 is shell process"},
            {"-950", "sh", {}, {"20"}, "20 is shell process"},
            {"-999", "x", {}, {}, "20 is Unknown process"},
            {"1001", "x", {}, {}, "20 is Unknown process"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.adj) + row.cmdline);
        lines.clear();
        java.clear();
        native.clear();
        addProcess(20, row.cmdline, "t20\n", row.adj);
        report(10, "proc 10\n" + outgoing(10, 10, 20, 20, 1) + "proc 20\n" +
                           outgoing(20, 20, 30, 30, 1) + "proc 30\n");
        EXPECT_EQ(java, row.java);
        bool isFollowed = !row.java.empty() || !row.native.empty();
        EXPECT_EQ(lines.size(), isFollowed ? 2u : 1u);
        EXPECT_EQ(Texts(native.begin(), native.end() - (isFollowed ? 1 : 0)), row.native);
        std::vector<LogEntry> log = takeLog();
        ASSERT_GE(log.size(), 3u);
        EXPECT_EQ(log[1], debug("getBinderTransactions", std::string("adj is ") + row.adj));
        EXPECT_EQ(log[2], debug("getBinderTransactions", row.said));
    }
}

TEST_F(OutgoingReport, FollowsOnlyOwnCallsToOthers) {
    for (const std::string& call :
         {outgoing(11, 11, 20, 20, 1), outgoing(10, 10, 0, 0, 1), outgoing(10, 10, 10, 11, 1)}) {
        lines.clear();
        report(10, "proc 10\n" + call + "proc 20\n" + outgoing(20, 20, 30, 30, 1));
        EXPECT_EQ(lines.size(), 1u) << call;
        for (const LogEntry& entry : takeLog()) {
            EXPECT_EQ(entry.text.find("process"), std::string::npos) << entry;
            EXPECT_EQ(entry.text.find("adj is"), std::string::npos) << entry;
        }
    }
    EXPECT_EQ(java, Texts{});
    EXPECT_EQ(native, Texts{});
}

TEST_F(OutgoingReport, SaysInListEvenWhereItWouldNotFollow) {
    java = {"30"};
    report(10, "proc 10\n" + outgoing(11, 11, 30, 30, 1));
    EXPECT_EQ(takeLog().back(), debug("getBinderTransactions", "30 is in list"));
}

TEST_F(OutgoingReport, ReportsTheStartTwiceInACycle) {
    report(10,
           "proc 10\n" + outgoing(10, 10, 20, 20, 1) + "proc 20\n" + outgoing(20, 20, 10, 10, 2));
    std::string forth = line(kApp, 10, kMedia, 20, "0.001000");
    EXPECT_EQ(lines, (Texts{forth, line(kMedia, 20, kApp, 10, "0.002000"), forth}));
    EXPECT_EQ(java, Texts{"10"});
    EXPECT_EQ(native, Texts{"20"});
}

TEST_F(OutgoingReport, FillsTheOptionalListsTogetherOrNotAtAll) {
    BinderLogParser parser = parse("proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    Texts texts[5];
    for (int missing = 0; missing <= 5; ++missing) {
        Texts* lists[6];
        for (int i = 0; i < 5; ++i) {
            texts[i] = {"kept"};
            lists[i] = i == missing ? nullptr : &texts[i];
        }
        getBinderTransactions(10, parser, &lines, &java, &native, lists[0], lists[1], lists[2],
                              lists[3], lists[4]);
        const char* added[] = {"app", "media", "3.000000", "10", "20"};
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(texts[i], missing == 5 ? (Texts{"kept", added[i]}) : Texts{"kept"});
        }
    }
}

TEST_F(OutgoingReport, HasNothingToSayOfAnIdleOrUnknownProcess) {
    EXPECT_FALSE(report(10, "proc 10\n  incoming transaction\n"));
    EXPECT_TRUE(takeLog().empty());
    EXPECT_FALSE(report(11, "proc 10\n"));
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{error("getBinderTransactions",
                                                     "No transactions found for pid 11")});
    EXPECT_TRUE(lines.empty());
}

TEST_F(OutgoingReport, TakesAVanishedReceiverForANativeOne) {
    EXPECT_TRUE(report(10, "proc 10\n" + outgoing(10, 10, 99, 98, 2001)));
    EXPECT_EQ(native, Texts{"99"});
    EXPECT_EQ(lines[0],
              "outgoing transaction from 10(app):10(t10) to 99(unknown):98(unknown) "
              "elapsed: 2.001000 s code: 3");
}

// A recursive walk needs more stack for this than a binder thread has on a device.
TEST_F(OutgoingReport, FollowsAChainOfAnyLength) {
    std::string log;
    for (int pid = 100; pid < 8100; ++pid) {
        log += "proc " + std::to_string(pid) + "\n" + outgoing(pid, pid, pid + 1, 0, 1);
    }
    report(100, log);
    EXPECT_EQ(lines.size(), 8000u);
}

}  // namespace android::test
