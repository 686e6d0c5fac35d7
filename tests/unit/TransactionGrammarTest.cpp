#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "binderlog/BinderLogParser.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

// Lines and their records, without the type; empty for a line that can't be read.
using Rows = std::vector<std::pair<std::string, std::string>>;

void expectRecords(decltype(&BinderLogParser::parseTransactionAbove6_1) read, const Rows& rows) {
    for (const auto& [line, record] : rows) {
        EXPECT_EQ(read(line, "incoming").toString(),
                  "incoming frome " + (record.empty() ? "0:0 to 0:0 code 0 elapsed 0s" : record))
                << line;
    }
}

}  // namespace

TEST(TransactionGrammar, ReadsBothFormats) {
    expectRecords(
            BinderLogParser::parseTransactionAbove6_1,
            {
                    {"outgoing transaction 87: 000000004f8c811b from 162:163 to 147:0 code 2 flags "
                     "10 pri 0 r1 elapsed 2727ms",
                     "162:163 to 147:0 code 2 elapsed 2.727s"},
                    {"from 1:2 to 3:4 code a3 flags 0 elapsed 12ms",
                     "1:2 to 3:4 code 163 elapsed 0.012s"},
                    {"from 1:2 node 88 to 3:0 code abcdef elapsed 1ms",
                     "1:2 to 3:0 code 11259375 elapsed 0.001s"},
                    // A code that begins with digits is cut where they end...
                    {"from 1:2 to 3:4 code 5f4e5446 elapsed 0ms", "1:2 to 3:4 code 5 elapsed 0s"},
                    {"from 1:2 to 3:4 code 0x1f elapsed 0ms", "1:2 to 3:4 code 0 elapsed 0s"},
                    // ...unless something else keeps the strict pattern off.
                    {"from 1:2 x to 3:4 code 0x1f elapsed 0ms", "1:2 to 3:4 code 31 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 5f elapsed 0ms", "1:2 to 3:4 code 95 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 0123 elapsed 0ms", "1:2 to 3:4 code 123 elapsed 0s"},
                    {"from 1:2 x to 3:4 code 0000000007fffffff elapsed 0ms",
                     "1:2 to 3:4 code 2147483647 elapsed 0s"},
                    {"from 1:2 x to 3:4 code f_z elapsed 0ms", "1:2 to 3:4 code 15 elapsed 0s"},
                    {"from 02147483647:2 to 3:4 code 00000000000012 elapsed 9223372036854775807ms",
                     "2147483647:2 to 3:4 code 12 elapsed 9.22337e+15s"},
                    {"from 1:2 to 3:4 code 3 elapsed 12 ms", ""},
            });
    expectRecords(
            BinderLogParser::parseTransactionBelow6_1,
            {
                    {"ZEVO    outgoing transaction: from 1200:1213 to 1400:1422 code: 3 flags: 10 "
                     "duration: 1.250 s",
                     "1200:1213 to 1400:1422 code 3 elapsed 1.25s"},
                    {"ZEVO    pending async transaction from 1:2 to 3:0 code 2 duration 0.5 s",
                     "1:2 to 3:0 code 2 elapsed 0.5s"},
                    {"ZEVO pending async transaction: from 1:2 to 3:0 code: 2 duration: 0.5 s", ""},
                    {"from 1:2 to 3:4 code a duration 1 s", ""},
                    {"from 1:2 to 3:4 code 5f duration 1.2.3s", "1:2 to 3:4 code 5 elapsed 1.2s"},
            });
}

TEST(TransactionGrammar, ReadsADurationOrSaysWhyNot) {
    takeLog();
    const std::pair<const char*, double> rows[] = {
            {"1.250", 1.25}, {"3", 3.0}, {"1.2.3", 1.2}, {".5", 0.5}, {"12s", 12.0}};
    for (const auto& [text, seconds] : rows) {
        EXPECT_EQ(BinderLogParser::extractDuration(text), seconds);
    }
    EXPECT_EQ(takeLog(), Texts{});
    // The last is out of strtod's range: the second conversion must not save it.
    for (const std::string& text : {std::string(), std::string("..1"), std::string(400, '9')}) {
        EXPECT_EQ(BinderLogParser::extractDuration(text), 0.0);
        EXPECT_EQ(takeLog(), Texts{"E extractDuration: Duration parse error : " + text});
    }
}

// A line's duration is the number that strtod reads, by whatever way.
TEST(TransactionGrammar, ReadsTheNearestDuration) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20'000; ++i) {
        std::string text = std::to_string(random() >> (i % 64));
        text = i % 11 == 0 ? text : text.insert(random() % (text.size() + 1), ".");
        const std::string line = "from 1:2 to 3:4 code 5 duration " + text + (i % 5 ? " s" : ".s");
        ASSERT_EQ(BinderLogParser::parseTransactionBelow6_1(line, "x").elapsed,
                  strtod(text.c_str(), nullptr))
                << line;
    }
    takeLog();
}

TEST(TransactionGrammar, TracesTheLineAndTheRecordWithSixSignificantDigits) {
    takeLog();
    BinderLogParser::parseTransactionAbove6_1("from 1:2 to 3:4 code 5 elapsed 123456789ms", "x");
    BinderLogParser::parseTransactionBelow6_1("nothing", "pending async");
    const std::string above = "D parseTransactionAbove6_1: parseTransactionAbove6_1: ";
    const std::string below = "D parseTransactionBelow6_1: parseTransactionBelow6_1: ";
    EXPECT_EQ(takeLog(),
              (Texts{above + "from 1:2 to 3:4 code 5 elapsed 123456789ms",
                     above + "x frome 1:2 to 3:4 code 5 elapsed 123457s", below + "nothing",
                     below + "pending async frome 0:0 to 0:0 code 0 elapsed 0s"}));
}

// No report is better than a wrong one.
TEST(TransactionGrammarDeathTest, EndsTheProcessOnNumbersThatDoNotFit) {
    for (const char* line : {
                 "from 2147483648:2 to 3:4 code 5 elapsed 1ms",
                 "from 1:2 to 3:2147483648 code 5 elapsed 1ms",
                 "from 1:2 to 3:4 code 2147483648 elapsed 1ms",
                 "from 1:2 x to 3:4 code 2147483648 elapsed 1ms",
                 "from 1:2 to 3:4 code a0000000 elapsed 1ms",
                 "from 1:2 to 3:4 code _1 elapsed 1ms",
                 "from 1:2 to 3:4 code 5 elapsed 9223372036854775808ms",
         }) {
        EXPECT_DEATH(runAsDaemon([&] { BinderLogParser::parseTransactionAbove6_1(line, "x"); }),
                     "out_of_range|invalid_argument")
                << line;
    }
    EXPECT_DEATH(runAsDaemon([] {
                     BinderLogParser::parseTransactionBelow6_1(
                             "from 1:2 to 3:4 code 2147483648 duration 1s", "x");
                 }),
                 "out_of_range");
}

}  // namespace android::test
