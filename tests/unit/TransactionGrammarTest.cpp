#include <cerrno>
#include <cstdlib>
#include <random>

#include "binderlog/BinderLogParser.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/ReferenceParser.h"

namespace android::test {

TEST(TransactionGrammar, ReadsLinesIntoRecords) {
    size_t records = 0;
    std::string line;
    for (const std::string& text : linesOf(readFile(testFile("data/records.txt")))) {
        if (text.rfind("    ", 0) == 0) {
            const std::string filed = filedByDaemon(line.rfind("new ", 0) == 0,
                                                    "outgoing transaction ZEVO " + line.substr(4));
            EXPECT_EQ(filed.substr(0, filed.rfind(" = ")),
                      (text == "    throws" ? "" : "proc 7\noutgoing frome ") + text.substr(4))
                    << line;
            ++records;
        }
        line = text;
    }
    EXPECT_GT(records, 30u);
    // Divided by 1000, which 9 * 0.001 is not the same as.
    EXPECT_EQ(BinderLogParser::parseTransactionAbove6_1("from 1:2 to 3:4 code 3 elapsed 9ms", "x")
                      .elapsed,
              0.009);
}

TEST(TransactionGrammar, ReadsADurationOrSaysWhyNot) {
    takeEvents();
    const std::pair<const char*, double> rows[] = {
            {"1.250", 1.25}, {"3", 3.0}, {"1.2.3", 1.2}, {".5", 0.5}, {"12s", 12.0}};
    for (const auto& [text, seconds] : rows) {
        errno = ERANGE;  // of whatever came before
        EXPECT_EQ(BinderLogParser::extractDuration(text), seconds);
    }
    EXPECT_EQ(takeLog(), Texts());
    // The last is out of strtod's range: the second conversion must not save it.
    for (const std::string& text : {std::string(), std::string("..1"), std::string(400, '9')}) {
        EXPECT_EQ(BinderLogParser::extractDuration(text), 0.0);
        EXPECT_EQ(takeLog(), Texts{"E extractDuration: Duration parse error : " + text});
    }
    BinderLogParser::parseTransactionBelow6_1("from 1:2 to 3:4 code 5 duration . s", "x");
    EXPECT_EQ(takeLog(), Texts{"E extractDuration: Duration parse error : ."});
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
    takeEvents();
}

TEST(TransactionGrammar, TracesTheLineAndTheRecord) {
    takeEvents();
    BinderLogParser::parseTransactionAbove6_1("from 1:2 to 3:4 code 5 elapsed 123456789ms", "x");
    BinderLogParser::parseTransactionBelow6_1("nothing", "pending async");
    const std::string above = "D parseTransactionAbove6_1: parseTransactionAbove6_1: ";
    const std::string below = "D parseTransactionBelow6_1: parseTransactionBelow6_1: ";
    const Texts traced = {above + "from 1:2 to 3:4 code 5 elapsed 123456789ms",
                          above + "x frome 1:2 to 3:4 code 5 elapsed 123457s", below + "nothing",
                          below + "pending async frome 0:0 to 0:0 code 0 elapsed 0s"};
    EXPECT_EQ(takeEvents(), isDebugOn() ? traced : Texts());
}

}  // namespace android::test
