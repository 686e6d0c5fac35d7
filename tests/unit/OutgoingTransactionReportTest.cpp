#include "diagnostics/OutgoingTransactionReport.h"

#include "tests/support/FakeDevice.h"

namespace android::test {

class OutgoingReport : public FakeDevice {
  protected:
    OutgoingReport() {
        addProcesses({10, 11, 21}, "0");
        addProcesses({20, 30}, "-1000");
    }

    // Reports on pid 10 into empty lists.
    bool report(const std::string& log) {
        BinderLogParser parser = parse("proc 10\n" + log);
        lines = java = native = {};
        return getBinderTransactions(10, parser, &lines, &java, &native, nullptr, nullptr, nullptr,
                                     nullptr, nullptr);
    }

    Texts lines, java, native;
};

TEST_F(OutgoingReport, FollowsTheChainDepthFirstAndLogsEachStep) {
    Transaction calls[] = {{"outgoing", 10, 10, 20, 21, 3000},
                           {"outgoing", 20, 21, 30, 30, 2500},
                           {"outgoing", 10, 11, 30, 30, 1},
                           {"outgoing", 11, 11, 20, 20, 1},
                           {"outgoing", 11, 11, 21, 21, 1}};
    EXPECT_TRUE(report(calls[0].logged() + calls[2].logged() + calls[3].logged() +
                       calls[4].logged() + "proc 20\n" + calls[1].logged()));
    EXPECT_EQ(lines, (Texts{calls[0].reported(), calls[1].reported(), calls[2].reported(),
                            calls[3].reported(), calls[4].reported()}));
    EXPECT_EQ(java, Texts{});
    EXPECT_EQ(native, (Texts{"20", "30"}));
    // The last two are another sender's: its receivers are nobody's class.
    EXPECT_EQ(takeLog(),
              loggedBy("getBinderTransactions",
                       {"D transaction line:  " + lines[0], "D adj is -1000",
                        "D 20 is Native process", "D transaction line:  " + lines[1],
                        "D adj is -1000", "D 30 is Native process",
                        "E No transactions found for pid 30", "D transaction line:  " + lines[2],
                        "D 30 is in list", "D transaction line:  " + lines[3], "D 20 is in list",
                        "D transaction line:  " + lines[4]}));
}

TEST_F(OutgoingReport, ReturnsTheVerdictForTheMainThread) {
    const std::tuple<const char*, std::string, const char*, bool> rows[] = {
            {"2.0 s exactly", outgoing(10, 10, 20, 20, 2000), "-1000", false},
            {"just above", outgoing(10, 10, 20, 20, 2001), "-1000", true},
            {"vanished", outgoing(10, 10, 99, 99, 2001), "0", true},
            {"another thread", outgoing(10, 11, 20, 20, 9000), "-1000", false},
            {"another sender", outgoing(11, 11, 20, 20, 9000), "-1000", false},
            {"system server", outgoing(10, 10, 20, 20, 9000), "-900", true},
            {"any other Java process", outgoing(10, 10, 20, 20, 9000), "-899", false},
            {"shell", outgoing(10, 10, 20, 20, 9000), "-950", false},
            {"further down the chain",
             outgoing(10, 10, 20, 20, 1000) + "proc 20\n" + outgoing(20, 20, 30, 30, 9000), "-1000",
             false},
            {"a receiver that is listed already",
             outgoing(10, 11, 20, 20, 9000) + outgoing(10, 10, 20, 20, 9000), "-1000", false},
            {"one of several", outgoing(10, 10, 30, 30, 9000) + outgoing(10, 10, 20, 20, 1),
             "-1000", true},
    };
    for (const auto& [what, log, adjOf20, isBlocked] : rows) {
        write("/proc/20/oom_score_adj", adjOf20);
        EXPECT_EQ(report(log), isBlocked) << what;
    }
}

TEST_F(OutgoingReport, ListsAndFollowsReceiversByTheirClass) {
    const std::tuple<std::string, const char*, Texts, Texts, std::string> rows[] = {
            {"-1000", "x", {}, {"20"}, "D 20 is Native process"},
            {"-900", "x", {"20"}, {}, "D 20 is Java process"},
            {"-950", "com.android.commands.monkey", {"20"}, {}, "D 20 is shell process"},
            {"-950", "com.android.commands.monkeys", {}, {"20"}, "D 20 is shell process"},
            {"-999", "x", {}, {}, "D 20 is Unknown process"}};
    for (const auto& [adj, cmdline, expectedJava, expectedNative, said] : rows) {
        write("/proc/20/cmdline", cmdline);
        write("/proc/20/oom_score_adj", adj);
        report(outgoing(10, 10, 20, 20, 1) + "proc 20\n" + outgoing(20, 20, 20, 20, 1));
        EXPECT_EQ(java, expectedJava) << cmdline;
        EXPECT_EQ(native, expectedNative) << cmdline;
        EXPECT_EQ(lines.size(), java.size() + native.size() + 1);
        Texts log = takeLog();
        EXPECT_EQ(Texts(log.begin() + 1, log.begin() + 3),
                  loggedBy("getBinderTransactions", {"D adj is " + adj, said}));
    }
}

TEST_F(OutgoingReport, ReportsTheStartTwiceInACycle) {
    Transaction forth = {"outgoing", 10, 10, 20, 20, 1};
    Transaction back = {"outgoing", 20, 20, 10, 10, 2};
    report(forth.logged() + "proc 20\n" + back.logged());
    EXPECT_EQ(lines, (Texts{forth.reported(), back.reported(), forth.reported()}));
    EXPECT_EQ(java, Texts{"10"});
    EXPECT_EQ(native, Texts{"20"});
}

TEST_F(OutgoingReport, FillsNoOptionalListWhenOneIsMissing) {
    BinderLogParser parser = parse("proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    for (int missing = 0; missing < 5; ++missing) {
        Texts list;
        Texts* lists[] = {&list, &list, &list, &list, &list};
        lists[missing] = nullptr;
        getBinderTransactions(10, parser, &lines, &java, &native, lists[0], lists[1], lists[2],
                              lists[3], lists[4]);
        EXPECT_EQ(list, Texts{});
    }
}

// A recursive walk needs more stack for this than a binder thread has on a device.
TEST_F(OutgoingReport, FollowsAChainOfAnyLength) {
    std::string log = outgoing(10, 10, 100, 0, 1);
    for (int pid = 100; pid < 8100; ++pid) {
        log += "proc " + std::to_string(pid) + "\n" + outgoing(pid, pid, pid + 1, 0, 1);
    }
    report(log);
    EXPECT_EQ(lines.size(), 8001u);
}

}  // namespace android::test
