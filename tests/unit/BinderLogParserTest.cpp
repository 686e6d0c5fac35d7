#include "binderlog/BinderLogParser.h"

#include "binderlog/LineReader.h"
#include "tests/support/FakeDevice.h"

namespace android::test {

namespace {

Texts linesFor(const std::vector<BinderTransaction>& records) {
    Texts texts;
    for (const BinderTransaction& each : records) {
        texts.push_back(each.toString());
    }
    return texts;
}

BinderLogSections file(bool isNewFormat, const std::string& log) {
    BinderLogSections sections;
    SectionFiler filer(isNewFormat, &sections);
    for (const std::string& line : linesOf(log)) {
        filer.file(line);
    }
    return sections;
}

constexpr char kTwoFormats[] =
        "proc 1200\n"
        "  outgoing transaction 17: from 1200:1213 to 1400:1422 code 3 flags 10 elapsed 350ms\n"
        "proc 1400\n"
        "  ZEVO incoming transaction: from 1:2 to 3:4 code: 5 flags: 10 duration: 1.5 s\n"
        "  pending async transaction 19: from 1300:1301 to 1400:0 code 7 elapsed 2500ms\n"
        "outgoing transaction from 6:7 to 8:0 code 9 duration 0.5 s ZEVO\n"
        "ZEVOoutgoing transaction\n";

}  // namespace

TEST(SectionFiler, FilesRecordsUnderTheirSection) {
    BinderLogSections sections = file(true, kTwoFormats);
    EXPECT_EQ(linesFor(sections[1200]),
              Texts{"outgoing frome 1200:1213 to 1400:1422 code 3 elapsed 0.35s"});
    const std::string zeros = "frome 0:0 to 0:0 code 0 elapsed 0s";
    EXPECT_EQ(linesFor(sections[1400]),
              (Texts{"incoming " + zeros,
                     "pending async frome 1300:1301 to 1400:0 code 7 elapsed 2.5s",
                     "outgoing " + zeros, "outgoing " + zeros}));
    // Only lines with the mark, wherever it stands.
    sections = file(false, kTwoFormats);
    EXPECT_EQ(linesFor(sections[1200]), Texts());
    EXPECT_EQ(linesFor(sections[1400]),
              (Texts{"incoming frome 1:2 to 3:4 code 5 elapsed 1.5s",
                     "outgoing frome 6:7 to 8:0 code 9 elapsed 0.5s", "outgoing " + zeros}));
}

TEST(SectionFiler, TellsHeadersAndTransactionsFromOtherLines) {
    size_t rows = 0;
    for (const std::string& row : linesOf(readFile(testFile("data/sections.txt")))) {
        const size_t equals = row.find(" = ");
        if (row[0] == '#') {
            continue;
        }
        std::string found;
        for (const auto& [pid, records] : file(true, unescape(row.substr(0, equals)))) {
            found += (found.empty() ? "" : ", ") + std::to_string(pid);
            for (const BinderTransaction& each : records) {
                found += " " + each.type;
            }
        }
        EXPECT_EQ(found, row.substr(equals + 3)) << row;
        ++rows;
    }
    EXPECT_GT(rows, 20u);
}

// Long sections are filed by another way than short ones.
TEST(SectionFiler, KeepsTheOrderOfSectionsOfAnyLength) {
    for (int first : {0, 1, 255, 256, 300}) {
        for (int second : {1, 256, 300}) {
            std::string log;
            for (int i = 0; i < first + second; ++i) {
                log += i == 0 || i == first ? "proc 8\nproc 7\n" : "";
                log += outgoing(7, i, 8, 9, 10);
            }
            const BinderLogSections sections = file(true, log + "proc 8\n");
            ASSERT_EQ(sections.at(7).size(), static_cast<size_t>(first + second));
            for (int i = 0; i < first + second; ++i) {
                ASSERT_EQ(sections.at(7)[i].fromTid, i) << first << " " << second;
            }
            EXPECT_TRUE(sections.at(8).empty());
        }
    }
}

using ParserTest = FakeDevice;

TEST_F(ParserTest, AnswersForASectionAndForATypeExactly) {
    writeFile("log", kTwoFormats);
    BinderLogParser parser;
    EXPECT_TRUE(parser.parse("log"));
    EXPECT_TRUE(parser.hasProcess(1200) && !parser.hasProcess(1300));
    EXPECT_EQ(parser.getProcessTransactions(1400)->size(), 4u);
    EXPECT_EQ(parser.getProcessTransactions(1300), nullptr);
    EXPECT_EQ(parser.getProcessTransactionsByType(1400, "pending async").at(0).fromPid, 1300);
    EXPECT_EQ(parser.getProcessTransactionsByType(1400, "outgoing").size(), 2u);
    EXPECT_TRUE(parser.getProcessTransactionsByType(1400, "pending").empty());
    EXPECT_TRUE(parser.getProcessTransactionsByType(1300, "outgoing").empty());
}

TEST_F(ParserTest, ReplacesWhatItHeldAndSaysWhatItCannotOpen) {
    writeFile("log", std::string("proc 7\n\n  x\0y", 13));
    BinderLogParser parser;
    EXPECT_TRUE(parser.parse("log"));
    const Texts traced = {"reads log", "D parse: line: proc 7",
                          "D parse: line: ", "D parse: line:   x"};
    EXPECT_EQ(takeEvents(), isDebugOn() ? traced : Texts{"reads log"});
    EXPECT_FALSE(parser.parse("missing"));
    EXPECT_EQ(takeLog(), Texts{"E parse: Can't open file: missing"});
    EXPECT_FALSE(parser.hasProcess(7));
    // What opens but can't be read is an empty log.
    EXPECT_TRUE(parser.parse("/proc"));
    EXPECT_EQ(takeLog(), Texts());
}

// The buffer has 64 KB at first: lines and their ends fall to both sides of its ends.
TEST_F(ParserTest, ReadsLinesOfAnyLength) {
    for (size_t length : {0, 1, 1'000, 65'533, 65'534, 65'535, 65'536, 65'537, 131'069, 131'070,
                          131'071, 131'072, 131'073, 1'000'000}) {
        for (const char* end : {"", "\n"}) {
            const Texts lines = {std::string(length, 'a'), "b", std::string(length, 'c'), "", "d"};
            std::string text;
            for (const std::string& line : lines) {
                text += line + "\n";
            }
            text.pop_back();
            writeFile("log", text + end);
            Texts found;
            LineReader reader("log");
            for (std::string_view line; reader.next(&line);) {
                found.emplace_back(line);
            }
            EXPECT_TRUE(found == lines) << length;
        }
    }
}

// Before 6.5 the kernel's lines have no elapsed time: records of nothing but a type.
TEST_F(ParserTest, ReadsTheLogsOfRealKernels) {
    BinderLogParser parser;
    ASSERT_TRUE(parser.parse(testFile("data/transactions-6.12.txt")));
    EXPECT_EQ(linesFor(*parser.getProcessTransactions(162)),
              Texts{"outgoing frome 162:162 to 147:0 code 2 elapsed 2.727s"});
    ASSERT_TRUE(parser.parse(testFile("data/transactions-6.1.txt")));
    EXPECT_EQ(linesFor(*parser.getProcessTransactions(114)),
              Texts{"outgoing frome 0:0 to 0:0 code 0 elapsed 0s"});
}

}  // namespace android::test
