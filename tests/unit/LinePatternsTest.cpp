#include "binderlog/LinePatterns.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/RegexReference.h"

namespace android::test {

namespace {

std::string show(const std::optional<std::vector<std::string>>& groups) {
    std::string text = groups ? "match" : "no match";
    for (const std::string& group : groups.value_or(std::vector<std::string>())) {
        text += " [" + group + "]";
    }
    return text;
}

// The corpus is text; "\r", "\v", "\0" and the like are written as escapes.
std::string unescape(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        static const std::string kNames = "rnvft0\\";
        result += std::string("\r\n\v\f\t\0\\", 7)[kNames.find(text[++i])];
    }
    return result;
}

void expectAgreement(const std::string& line) {
    for (Pattern pattern : kPatterns) {
        EXPECT_EQ(show(searchScanner(pattern, line)), show(searchRegex(pattern, line)))
                << patternText(pattern) << "\n on " << line;
    }
}

}  // namespace

TEST(LinePatterns, AgreeWithTheRegularExpressionsOnTheHardLines) {
    std::ifstream corpus(TEST_DATA "/hard-lines.txt");
    std::string line;
    size_t count = 0;
    while (std::getline(corpus, line)) {
        expectAgreement(unescape(line));
        ++count;
    }
    EXPECT_GT(count, 50u);
}

TEST(LinePatterns, AgreeWithTheRegularExpressionsOnARealLog) {
    for (const char* file :
         {TEST_DATA "/transactions-6.12.txt", TEST_DATA "/transactions-6.1.txt"}) {
        std::ifstream log(file);
        std::string line;
        while (std::getline(log, line)) {
            expectAgreement(line);
        }
    }
}

// Repeats of these once made the search restart over and over. Quadratic time would take minutes.
TEST(LinePatterns, TakeLinearTimeOnHostileLines) {
    for (const char* piece : {"from ", "from 1:2 to 3:4 code 5 ", "from 1:2 ", "from 1:2 to 3:4 ",
                              "to 3:4 ", "code 5 ", "code a elapsed ", "elapsed 5 ", "proc ",
                              "from 1:2\rto 3:4\rcode 5\r", "ZEVO x transaction: from 1:2 to 3:4 ",
                              "code: 5 ", "duration: 5 ", "duration 5 ", "ZEVO ", "t", " ", "7"}) {
        std::string line = "ZEVO x transaction: from 1:2 to 3:4 ";
        while (line.size() < 2'000'000) {
            line += piece;
        }
        for (Pattern pattern : kPatterns) {
            searchScanner(pattern, line);
        }
        TransactionTexts texts;
        EXPECT_TRUE(findNewStrict(line + "\nfrom 1:2 to 3:4 code 5 elapsed 6ms", &texts)) << piece;
    }
}

}  // namespace android::test
