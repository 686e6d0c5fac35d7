#include "binderlog/LinePatterns.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/RegexReference.h"

namespace android::test {

namespace {

// The hard lines are text; "\r", "\v", "\0" and the like are written as escapes.
std::string unescape(const std::string& text) {
    static const std::string kNames = "rnvft0\\";
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        bool isEscape = text[i] == '\\' && i + 1 < text.size();
        result += isEscape ? "\r\n\v\f\t\0\\"[kNames.find(text[++i])] : text[i];
    }
    return result;
}

}  // namespace

TEST(LinePatterns, AgreeWithTheRegularExpressions) {
    size_t count = 0;
    for (const char* file :
         {"/hard-lines.txt", "/transactions-6.12.txt", "/transactions-6.1.txt"}) {
        std::ifstream lines(TEST_DATA + std::string(file));
        for (std::string text; std::getline(lines, text); ++count) {
            std::string line = unescape(text);
            for (Pattern pattern : kPatterns) {
                EXPECT_EQ(searchScanner(pattern, line), searchRegex(pattern, line))
                        << patternText(pattern) << "\n on " << text;
            }
        }
    }
    EXPECT_GT(count, 200u);
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
