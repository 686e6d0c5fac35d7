#include "binderlog/BinderLogParser.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

Texts records(const BinderLogParser& parser, int pid) {
    Texts texts;
    for (const BinderTransaction& each : *parser.getProcessTransactions(pid)) {
        texts.push_back(each.toString());
    }
    return texts;
}

constexpr char kTwoFormats[] =
        "proc 1200\n"
        "  outgoing transaction 17: from 1200:1213 to 1400:1422 code 3 flags 10 elapsed 350ms\n"
        "proc 1400\n"
        "  ZEVO incoming transaction: from 1:2 to 3:4 code: 5 flags: 10 duration: 1.5 s\n"
        "  pending async transaction 19: from 1300:1301 to 1400:0 code 7 elapsed 2500ms\n"
        "outgoing transaction from 6:7 to 8:0 code 9 duration 0.5 s ZEVO\n";

}  // namespace

using BinderLogParserTest = FakeDevice;
using OldFormat = FakeDevice;

TEST_F(BinderLogParserTest, FilesRecordsUnderTheirSectionInTheNewFormat) {
    BinderLogParser parser = parse(kTwoFormats);
    EXPECT_EQ(records(parser, 1200),
              Texts{"outgoing frome 1200:1213 to 1400:1422 code 3 elapsed 0.35s"});
    EXPECT_EQ(records(parser, 1400),
              (Texts{"incoming frome 0:0 to 0:0 code 0 elapsed 0s",
                     "pending async frome 1300:1301 to 1400:0 code 7 elapsed 2.5s",
                     "outgoing frome 0:0 to 0:0 code 0 elapsed 0s"}));
    EXPECT_EQ(parser.getProcessTransactions(1300), nullptr);
    EXPECT_EQ(parser.getProcessTransactionsByType(1400, "pending async").at(0).fromPid, 1300);
    EXPECT_TRUE(parser.getProcessTransactionsByType(1400, "pending").empty());
    EXPECT_TRUE(parser.getProcessTransactionsByType(1300, "outgoing").empty());
}

TEST_F(OldFormat, FilesOnlyLinesWithTheMarkWhereverItStands) {
    BinderLogParser parser = parse(kTwoFormats);
    EXPECT_EQ(records(parser, 1200), Texts{});
    EXPECT_EQ(records(parser, 1400), (Texts{"incoming frome 1:2 to 3:4 code 5 elapsed 1.5s",
                                            "outgoing frome 6:7 to 8:0 code 9 elapsed 0.5s"}));
}

TEST_F(BinderLogParserTest, TellsHeadersAndTransactionsFromOtherLines) {
    const std::pair<const char*, const char*> rows[] = {
            {"", ""},
            {"proc 7", "7"},
            {"proc  \t7x", "7"},
            {"proc x proc 7", "7"},
            {"  proc 7", ""},
            {"proc\t7", ""},
            {"process 7\nproc7", ""},
            // Dropped before the first header and after a bad one.
            {"outgoing transaction\nproc 7\noutgoing transaction\nproc x\noutgoing transaction",
             "7 outgoing,"},
            {"proc 7\noutgoing transaction\nproc 8\nproc 7\nincoming transaction",
             "7 outgoing, incoming, 8"},
            // The first keyword counts.
            {"proc 7\nxincoming transactionx", "7 incoming,"},
            {"proc 8\npending async transaction", " 8 pending async,"},
            {"proc 7\nincoming transaction outgoing transaction", "7 outgoing,"},
            {"proc 7\npending async transaction incoming transaction", "7 incoming,"},
            {"proc 7\npending transaction 5: from 1:2 to 3:4 code 5 elapsed 6ms", "7"},
            {"proc 7\nasync transaction\noutgoing  transaction\nOutgoing transaction", "7"},
            {"proc 7\n    transaction complete", "7"},
    };
    for (const auto& [log, expected] : rows) {
        BinderLogParser parser = parse(log);
        std::string found;
        for (int pid : {7, 8}) {
            if (parser.hasProcess(pid)) {
                found += (pid == 7 ? "7" : " 8");
                for (const BinderTransaction& each : *parser.getProcessTransactions(pid)) {
                    found += " " + each.type + ",";
                }
            }
        }
        EXPECT_EQ(found, expected) << log;
    }
}

TEST_F(BinderLogParserTest, ReplacesWhatItHeldAndSaysWhatItCannotOpen) {
    BinderLogParser parser = parse("proc 7\n");
    EXPECT_FALSE(parser.parse(path("missing")));
    EXPECT_EQ(takeLog(), Texts{"E parse: Can't open file: " + path("missing")});
    EXPECT_FALSE(parser.hasProcess(7));
    // What opens but can't be read is an empty log.
    EXPECT_TRUE(parser.parse("/proc"));
    EXPECT_EQ(takeLog(), Texts{});
    write("log", std::string("proc 7\n\n  x\0y", 13));
    parser.parse(path("log"));
    EXPECT_EQ(takeLog(), (Texts{"D parse: line: proc 7", "D parse: line: ", "D parse: line:   x"}));
    write("log", "proc 2147483648\n");
    EXPECT_DEATH(runAsDaemon([&] { parser.parse(path("log")); }), "out_of_range");
}

// Longer than any buffer, so that lines straddle its ends, and with no end to the last line.
TEST_F(BinderLogParserTest, ReadsLinesOfAnyLength) {
    std::string log = "proc 7\n";
    for (int i = 0; i < 3000; ++i) {
        log += outgoing(7, i, 8, 9, 10) + std::string(i % 97, 'x') + "\n";
    }
    log += std::string(1'000'000, ' ') + outgoing(7, 3000, 8, 9, 9);
    log.pop_back();
    BinderLogParser parser = parse(log);
    const std::vector<BinderTransaction>& transactions = *parser.getProcessTransactions(7);
    ASSERT_EQ(transactions.size(), 3001u);
    for (int i = 0; i <= 3000; ++i) {
        ASSERT_EQ(transactions[i].fromTid, i);
    }
    // Divided by 1000, which 9 * 0.001 is not the same as.
    EXPECT_EQ(transactions.back().elapsed, 0.009);
}

// Before 6.12 the kernel's lines have no elapsed time: records of nothing but a type.
TEST_F(BinderLogParserTest, ReadsTheLogsOfRealKernels) {
    BinderLogParser parser;
    ASSERT_TRUE(parser.parse(TEST_DATA "/transactions-6.12.txt"));
    EXPECT_EQ(records(parser, 162), Texts{"outgoing frome 162:162 to 147:0 code 2 elapsed 2.727s"});
    ASSERT_TRUE(parser.parse(TEST_DATA "/transactions-6.1.txt"));
    EXPECT_EQ(records(parser, 114), Texts{"outgoing frome 0:0 to 0:0 code 0 elapsed 0s"});
}

}  // namespace android::test
