#include <gtest/gtest.h>

#include <ctime>

#include "tests/support/FakeDevice.h"
#include "tests/support/ReferenceParser.h"

namespace android::test {

TEST(LinePatterns, AgreeWithTheRegularExpressions) {
    size_t lines = 0;
    for (const char* file :
         {"data/hard-lines.txt", "data/transactions-6.12.txt", "data/transactions-6.1.txt"}) {
        for (const std::string& text : linesOf(readFile(testFile(file)))) {
            ++lines;
            for (const std::string& line :
                 {unescape(text), "outgoing transaction ZEVO " + unescape(text)}) {
                for (bool isNewFormat : {false, true}) {
                    EXPECT_EQ(filedByDaemon(isNewFormat, line), filedByReference(isNewFormat, line))
                            << line;
                }
            }
        }
    }
    EXPECT_GT(lines, 200u);
}

double cpuSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Repeats of these once made the search restart over and over. Quadratic time would be minutes.
TEST(LinePatterns, TakeLinearTimeOnHostileLines) {
    for (const char* piece :
         {"from ", "from 1:2 to 3:4 code 5 ", "from 1:2 ", "from 1:2 to 3:4 ", "to 3:4 ", "code 5 ",
          "code a elapsed ", "elapsed 5 ", "proc ", "from 1:2\rto 3:4\rcode 5\r",
          "ZEVO x transaction: from 1:2 to 3:4 ", "code: 5 ", "duration: 5 ", "duration 5 ",
          "ZEVO ", "g ", "t", " ", "7"}) {
        std::string line = "ZEVO x transaction: from 1:2 to 3:4 ";
        while (line.size() < 1'000'000) {
            line += piece;
        }
        const double start = cpuSeconds();
        for (bool isNewFormat : {false, true}) {
            filedByDaemon(isNewFormat, "proc " + line);
            filedByDaemon(isNewFormat, "outgoing transaction " + line);
        }
        EXPECT_LT(cpuSeconds() - start, 2.0) << piece;
        line += "\nfrom 1:2 to 3:4 code 5 elapsed 6ms outgoing transaction";
        EXPECT_NE(filedByDaemon(true, line).find("frome 1:2 to 3:4 code 5 elapsed 0.006s"),
                  std::string::npos)
                << piece;
    }
}

}  // namespace android::test
