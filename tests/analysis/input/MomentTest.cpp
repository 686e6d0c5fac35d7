#include "analysis/input/ThreadDumpReader.h"

#include <gtest/gtest.h>

namespace stallscope {
namespace {

int64_t between(const char* earlier, const char* later) {
    return secondsBetween(readMoment(earlier).value(), readMoment(later).value());
}

TEST(Moment, ComparesTimesOfAllForms) {
    EXPECT_EQ(61, between("2016-02-28 23:59:59", "2016-02-29 00:01:00"));
    EXPECT_EQ(-86400, between("2000-03-01 00:00:00.5", "2000-02-29 00:00:00.25"));
    EXPECT_EQ(0, between("2023-05-04 10:11:12.123456789+0200", "2023-05-04 10:11:12"));
    EXPECT_EQ(3600, between("2023-05-04 10:11:12+0200", "2023-05-04 10:11:12 +01:00"));
    EXPECT_EQ(123'456'789, readMoment("2023-05-04 10:11:12.123456789-0300")->nanoseconds);
    EXPECT_EQ(951'782'400, readMoment("2000-02-29 00:00:00")->seconds);
    for (const char* text : {"", "2023-05-04", "2023-13-04 10:11:12", "2023-05-04 24:11:12",
                             "2023-05-04T10:11:12", "-023-05-04 10:11:12", "soon"}) {
        EXPECT_FALSE(readMoment(text)) << text;
    }
}

}  // namespace
}  // namespace stallscope
