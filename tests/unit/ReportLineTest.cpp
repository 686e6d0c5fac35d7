#include "diagnostics/ReportLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace android::test {

// "%f" is what readers of the lines go by.
void expectElapsed(double seconds) {
    BinderTransaction call;
    call.elapsed = seconds;
    const std::string line = plainLine(call);
    ASSERT_NE(line.find(" elapsed: " + std::to_string(seconds) + " s code: "), std::string::npos)
            << line;
}

TEST(ReportLine, PrintsSecondsLikePrintf) {
    std::mt19937_64 random(1);
    for (int64_t i = 0; i < 20'000; ++i) {
        const double milliseconds = static_cast<double>(i < 5000 ? i : random() >> (i % 64));
        const double seconds = milliseconds / 1000;
        for (double each : {seconds, std::nextafter(seconds, 1e300), -seconds, seconds / 1000,
                            seconds + 0.0004999}) {
            expectElapsed(each);
        }
    }
    for (double each : {1e9, 1e18, 1e300, HUGE_VAL, std::nan("")}) {
        expectElapsed(each);
    }
}

}  // namespace android::test
