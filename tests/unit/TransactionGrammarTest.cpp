#include <gtest/gtest.h>

#include "binderlog/BinderLogParser.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

struct Row {
    const char* line;
    const char* record;  // toString() without the type; empty for a line that can't be read
};

void expectRows(BinderTransaction (*read)(const std::string&, const std::string&),
                const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const char* record = *row.record ? row.record : "0:0 to 0:0 code 0 elapsed 0s";
        EXPECT_EQ(read(row.line, "incoming").toString(), std::string("incoming frome ") + record);
    }
}

}  // namespace

TEST(BinderTransaction, PrintsElapsedTimeWithSixSignificantDigits) {
    const std::pair<double, const char*> rows[] = {
            {0.35, "0.35"},           {60.0, "60"},    {123.456789, "123.457"},
            {1234567, "1.23457e+06"}, {1e-5, "1e-05"}, {0.012, "0.012"}};
    for (const auto& [elapsed, text] : rows) {
        BinderTransaction transaction;
        transaction.type = "outgoing";
        transaction.code = -7;
        transaction.elapsed = elapsed;
        EXPECT_EQ(transaction.toString(),
                  std::string("outgoing frome 0:0 to 0:0 code -7 elapsed ") + text + "s");
    }
}

TEST(TransactionGrammar, ReadsNewFormat) {
    expectRows(
            BinderLogParser::parseTransactionAbove6_1,
            {
                    {"  outgoing transaction 17: from 1200:1213 to 1400:1422 code 3 flags 10 "
                     "elapsed 350ms",
                     "1200:1213 to 1400:1422 code 3 elapsed 0.35s"},
                    {"outgoing transaction 87: 000000004f8c811b from 162:162 to 147:0 code 2 flags "
                     "10 pri 0 r1 elapsed 2727ms",
                     "162:162 to 147:0 code 2 elapsed 2.727s"},
                    {"from 1:2 to 3:4 code a3 flags 0 elapsed 12ms",
                     "1:2 to 3:4 code 163 elapsed 0.012s"},
                    {"from 1:2 to 3:4 code abcdef elapsed 1ms",
                     "1:2 to 3:4 code 11259375 elapsed 0.001s"},
                    {"from 1:2 node 88 to 3:0 code 7 elapsed 2500ms",
                     "1:2 to 3:0 code 7 elapsed 2.5s"},
                    // A code that begins with digits is cut where they end...
                    {"from 1:2 to 3:4 code 5f4e5446 elapsed 0ms", "1:2 to 3:4 code 5 elapsed 0s"},
                    {"from 1:2 to 3:4 code 0x1f elapsed 0ms", "1:2 to 3:4 code 0 elapsed 0s"},
                    // ...unless something else keeps the strict pattern off.
                    {"from 1:2 x to 3:4 code 0x1f elapsed 0ms", "1:2 to 3:4 code 31 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 5f elapsed 0ms", "1:2 to 3:4 code 95 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 0123 elapsed 0ms", "1:2 to 3:4 code 123 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 7fffffff elapsed 0ms",
                     "1:2 to 3:4 code 2147483647 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 0000000007fffffff elapsed 0ms",
                     "1:2 to 3:4 code 2147483647 elapsed 0s"},
                    {"from 1:2 x to 3:4 code f_z elapsed 0ms", "1:2 to 3:4 code 15 elapsed 0s"},
                    {"from 02147483647:2 to 3:4 code 00000000000012 elapsed 9223372036854775807ms",
                     "2147483647:2 to 3:4 code 12 elapsed 9.22337e+15s"},
                    {"from 1:2 to 3:4 code 3", ""},
                    {"from 1:2 to 3:4 code 3 elapsed 12 ms", ""},
                    {"from -1:2 to 3:4 code 3 elapsed 12ms", ""},
                    {"from 1:2 to 3:4 code: 3 elapsed 12ms", ""},
                    {"", ""},
            });
}

TEST(TransactionGrammar, ReadsOldFormat) {
    expectRows(
            BinderLogParser::parseTransactionBelow6_1,
            {
                    {"ZEVO    outgoing transaction: from 1200:1213 to 1400:1422 code: 3 flags: 10 "
                     "duration: 1.250 s",
                     "1200:1213 to 1400:1422 code 3 elapsed 1.25s"},
                    {"ZEVO outgoing transaction: from 1:2 to 3:4 node 8 code:3 duration:3s",
                     "1:2 to 3:4 code 3 elapsed 3s"},
                    {"ZEVO    pending async transaction from 1:2 to 3:0 code 2 duration 0.5 s",
                     "1:2 to 3:0 code 2 elapsed 0.5s"},
                    {"ZEVO pending async transaction: from 1:2 to 3:0 code: 2 duration: 0.5 s", ""},
                    {"from 1:2 to 3:4 code a duration 1 s", ""},
                    {"from 1:2 to 3:4 code 5f duration 1.2.3s", "1:2 to 3:4 code 5 elapsed 1.2s"},
                    {"from 1:2 to 3:4 code 5 duration 1ms", ""},
            });
}

TEST(TransactionGrammar, ReadsADurationOrSaysWhyNot) {
    struct {
        const char* text;
        double seconds;
        bool isLogged;
    } rows[] = {{"1.250", 1.25, false}, {"3", 3.0, false}, {"1.2.3", 1.2, false},
                {".5", 0.5, false},     {".", 0.0, true},  {"", 0.0, true},
                {"12s", 12.0, false},   {"..1", 0.0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        takeLog();
        EXPECT_EQ(BinderLogParser::extractDuration(row.text), row.seconds);
        std::vector<LogEntry> expected;
        if (row.isLogged) {
            expected.push_back(
                    error("extractDuration", std::string("Duration parse error : ") + row.text));
        }
        EXPECT_EQ(takeLog(), expected);
    }
    // Out of strtod's range: the second conversion must not save it.
    EXPECT_EQ(BinderLogParser::extractDuration(std::string(400, '9')), 0.0);
    EXPECT_EQ(takeLog().size(), 1u);
}

TEST(TransactionGrammar, TracesTheLineAndTheRecord) {
    takeLog();
    BinderLogParser::parseTransactionAbove6_1("from 1:2 to 3:4 code 5 elapsed 60000ms", "outgoing");
    BinderLogParser::parseTransactionBelow6_1("nothing", "pending async");
    const std::string above = "parseTransactionAbove6_1";
    const std::string below = "parseTransactionBelow6_1";
    std::vector<LogEntry> expected = {
            debug(above, above + ": from 1:2 to 3:4 code 5 elapsed 60000ms"),
            debug(above, above + ": outgoing frome 1:2 to 3:4 code 5 elapsed 60s"),
            debug(below, below + ": nothing"),
            debug(below, below + ": pending async frome 0:0 to 0:0 code 0 elapsed 0s")};
    EXPECT_EQ(takeLog(), expected);
}

// Numbers that don't fit end the process: no report is better than a wrong one.
TEST(TransactionGrammarDeathTest, EndsTheProcessOnNumbersThatDoNotFit) {
    for (const char* line : {
                 "from 2147483648:2 to 3:4 code 5 elapsed 1ms",
                 "from 1:2147483648 to 3:4 code 5 elapsed 1ms",
                 "from 1:2 to 2147483648:4 code 5 elapsed 1ms",
                 "from 1:2 to 3:2147483648 code 5 elapsed 1ms",
                 "from 1:2 to 3:4 code 2147483648 elapsed 1ms",
                 "from 1:2 x to 3:4 code 2147483648 elapsed 1ms",
                 "from 1:2 to 3:4 code a0000000 elapsed 1ms",
                 "from 1:2 to 3:4 code _1 elapsed 1ms",
                 "from 1:2 to 3:4 code zz elapsed 1ms",
                 "from 1:2 to 3:4 code 5 elapsed 9223372036854775808ms",
         }) {
        EXPECT_DEATH(
                runAsDaemon([&] { BinderLogParser::parseTransactionAbove6_1(line, "outgoing"); }),
                "out_of_range|invalid_argument")
                << line;
    }
    EXPECT_DEATH(runAsDaemon([] {
                     BinderLogParser::parseTransactionBelow6_1(
                             "from 1:2 to 3:4 code 2147483648 duration 1s", "outgoing");
                 }),
                 "out_of_range");
}

}  // namespace android::test
