#include "binderlog/BinderLogParser.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

// The parsed log on one line per record, sections included.
std::string show(const BinderLogParser& parser, std::initializer_list<int> pids) {
    std::string text;
    for (int pid : pids) {
        text += std::to_string(pid) + (parser.hasProcess(pid) ? "\n" : " has no section\n");
        const std::vector<BinderTransaction>* records = parser.getProcessTransactions(pid);
        EXPECT_EQ(records != nullptr, parser.hasProcess(pid));
        for (size_t i = 0; records != nullptr && i < records->size(); ++i) {
            text += "  " + (*records)[i].toString() + "\n";
        }
    }
    return text;
}

constexpr char kTwoFormats[] =
        "proc 1200\n"
        "  outgoing transaction 17: from 1200:1213 to 1400:1422 code 3 flags 10 elapsed 350ms\n"
        "proc 1400\n"
        "  ZEVO incoming transaction: from 1:2 to 3:4 code: 5 flags: 10 duration: 1.5 s\n"
        "  pending async transaction 19: from 1300:1301 to 1400:0 code 7 elapsed 2500ms\n"
        "  ZEVO pending async transaction from 6:7 to 8:0 code 9 duration 0.5 s\n"
        "proc 1500\n";

}  // namespace

using BinderLogParserTest = FakeDevice;
using OldFormat = FakeDevice;

TEST_F(BinderLogParserTest, FilesRecordsUnderTheirSectionInTheNewFormat) {
    EXPECT_EQ(show(parse(kTwoFormats), {1200, 1400, 1500, 1300}),
              "1200\n"
              "  outgoing frome 1200:1213 to 1400:1422 code 3 elapsed 0.35s\n"
              "1400\n"
              "  incoming frome 0:0 to 0:0 code 0 elapsed 0s\n"
              "  pending async frome 1300:1301 to 1400:0 code 7 elapsed 2.5s\n"
              "  pending async frome 0:0 to 0:0 code 0 elapsed 0s\n"
              "1500\n"
              "1300 has no section\n");
}

TEST_F(OldFormat, FilesOnlyMarkedLines) {
    EXPECT_EQ(show(parse(kTwoFormats), {1200, 1400, 1500}),
              "1200\n"
              "1400\n"
              "  incoming frome 1:2 to 3:4 code 5 elapsed 1.5s\n"
              "  pending async frome 6:7 to 8:0 code 9 elapsed 0.5s\n"
              "1500\n");
    // The mark counts wherever it stands.
    EXPECT_EQ(show(parse("proc 1\noutgoing transaction from 1:2 to 3:4 code 5 duration 6 s ZEVO"),
                   {1}),
              "1\n  outgoing frome 1:2 to 3:4 code 5 elapsed 6s\n");
}

TEST_F(BinderLogParserTest, TellsHeadersFromOtherLines) {
    struct {
        const char* log;
        const char* parsed;  // sections 7 and 8
    } rows[] = {
            {"", "7 has no section\n8 has no section\n"},
            {"proc 7", "7\n8 has no section\n"},
            {"proc 7\n", "7\n8 has no section\n"},
            {"proc  \t7x", "7\n8 has no section\n"},
            {"proc x proc 7", "7\n8 has no section\n"},
            {"  proc 7", "7 has no section\n8 has no section\n"},
            {"proc\t7", "7 has no section\n8 has no section\n"},
            {"process 7\nproc7", "7 has no section\n8 has no section\n"},
            // Not a transaction's: dropped, before the first header and after a bad one.
            {"outgoing transaction\nproc 7\noutgoing transaction\nproc x\noutgoing transaction",
             "7\n  outgoing frome 0:0 to 0:0 code 0 elapsed 0s\n8 has no section\n"},
            // A section that occurs twice.
            {"proc 7\noutgoing transaction\nproc 8\nproc 7\nincoming transaction",
             "7\n  outgoing frome 0:0 to 0:0 code 0 elapsed 0s\n"
             "  incoming frome 0:0 to 0:0 code 0 elapsed 0s\n8\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(show(parse(row.log), {7, 8}), row.parsed) << row.log;
    }
}

TEST_F(BinderLogParserTest, ClassifiesByTheFirstKeywordOfThree) {
    struct {
        const char* line;
        const char* type;
    } rows[] = {
            {"outgoing transaction", "outgoing"},
            {"xincoming transactionx", "incoming"},
            {"pending async transaction", "pending async"},
            {"incoming transaction outgoing transaction", "outgoing"},
            {"pending async transaction incoming transaction", "incoming"},
            {"transaction outgoing transaction", "outgoing"},
            {"pending transaction 5: from 1:2 to 3:4 code 5 elapsed 6ms", nullptr},
            {"async transaction", nullptr},
            {"outgoing  transaction", nullptr},
            {"Outgoing transaction", nullptr},
            {"    transaction complete", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        BinderLogParser parser = parse(std::string("proc 7\n") + row.line);
        size_t count = row.type == nullptr ? 0 : 1;
        ASSERT_EQ(parser.getProcessTransactions(7)->size(), count);
        if (count == 1) {
            EXPECT_EQ(parser.getProcessTransactions(7)->front().type, row.type);
        }
    }
}

TEST_F(BinderLogParserTest, AnswersByExactType) {
    BinderLogParser parser = parse("proc 7\n" + outgoing(7, 7, 8, 9, 10) +
                                   "incoming transaction\n" + outgoing(7, 8, 8, 9, 20));
    std::vector<BinderTransaction> calls = parser.getProcessTransactionsByType(7, "outgoing");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].fromTid, 7);
    EXPECT_EQ(calls[1].fromTid, 8);
    for (const char* type : {"out", "Outgoing", "outgoing ", "", "pending"}) {
        EXPECT_TRUE(parser.getProcessTransactionsByType(7, type).empty()) << type;
    }
    EXPECT_TRUE(parser.getProcessTransactionsByType(8, "outgoing").empty());
}

TEST_F(BinderLogParserTest, ReplacesWhatItHeldAndSaysWhatItCannotOpen) {
    BinderLogParser parser = parse("proc 7\n");
    EXPECT_FALSE(parser.parse(path("missing")));
    EXPECT_EQ(takeLog(),
              std::vector<LogEntry>{error("parse", "Can't open file: " + path("missing"))});
    EXPECT_FALSE(parser.hasProcess(7));
    // What opens but can't be read is an empty log.
    EXPECT_TRUE(parser.parse("/proc"));
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(BinderLogParserTest, TracesEveryLine) {
    write("log", "proc 7\n\n  x\0y");
    BinderLogParser parser;
    parser.parse(path("log"));
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{debug("parse", "line: proc 7"), debug("parse", "line: "),
                                     debug("parse", "line:   x")}));
}

// Longer than any buffer, so that lines straddle its ends, and with no end to the last line.
TEST_F(BinderLogParserTest, ReadsLinesOfAnyLength) {
    std::string log = "proc 7\n";
    for (int i = 1; i <= 3000; ++i) {
        log += outgoing(7, i, 8, 9, 10) + std::string(i % 97, 'x') + "\n";
    }
    log += std::string(1'000'000, ' ') + outgoing(7, 3001, 8, 9, 9);
    log.pop_back();
    BinderLogParser parser = parse(log);
    const std::vector<BinderTransaction>& records = *parser.getProcessTransactions(7);
    ASSERT_EQ(records.size(), 3001u);
    for (int i = 0; i < 3001; ++i) {
        ASSERT_EQ(records[i].fromTid, i + 1);
    }
    // Divided by 1000, which 9 * 0.001 is not the same as.
    EXPECT_EQ(records.back().elapsed, 0.009);
}

TEST_F(BinderLogParserTest, ReadsTheLogOfARealKernel) {
    BinderLogParser parser;
    ASSERT_TRUE(parser.parse(TEST_DATA "/transactions-6.12.txt"));
    EXPECT_EQ(show(parser, {162, 147, 145}),
              "162\n"
              "  outgoing frome 162:162 to 147:0 code 2 elapsed 2.727s\n"
              "147\n"
              "  incoming frome 157:157 to 147:147 code 2 elapsed 2.897s\n"
              "  incoming frome 160:160 to 147:150 code 2 elapsed 2.789s\n"
              "145\n"
              "  incoming frome 154:154 to 145:145 code 2 elapsed 2.898s\n"
              "  outgoing frome 145:149 to 143:152 code 3 elapsed 2.912s\n"
              "  incoming frome 146:151 to 145:149 code 3 elapsed 2.928s\n"
              "  pending async frome 167:167 to 145:0 code 2 elapsed 2.58s\n"
              "  pending async frome 168:168 to 145:0 code 2 elapsed 2.442s\n");
    // Before 6.12 the lines have no elapsed time: records of nothing but a type.
    ASSERT_TRUE(parser.parse(TEST_DATA "/transactions-6.1.txt"));
    EXPECT_EQ(show(parser, {114}), "114\n  outgoing frome 0:0 to 0:0 code 0 elapsed 0s\n");
}

TEST_F(BinderLogParserTest, EndsTheProcessOnASectionPidThatDoesNotFit) {
    write("log", "proc 2147483648\n");
    BinderLogParser parser;
    EXPECT_DEATH(runAsDaemon([&] { parser.parse(path("log")); }), "out_of_range");
}

}  // namespace android::test
