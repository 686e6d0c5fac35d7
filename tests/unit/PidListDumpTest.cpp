#include "diagnostics/PidListDump.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

const std::string kDump = "dumpTraceForAllProcess";
const LogEntry kDone = error(kDump, "Dump trace for all processes done");

}  // namespace

using PidListDump = FakeDevice;

TEST_F(PidListDump, ReplacesTheFileByTheSubjectAndTheStacksInOrder) {
    addProcFile("41/oom_score_adj", "0");
    write("list", "what an earlier dump left, which is longer");
    dumpTraceForAllProcess({42, 41, 42}, "Subject: hang", path("list"));
    EXPECT_EQ(read("list"), "Subject: hang\nnative 42\njava 41\nnative 42\n");
    EXPECT_EQ(takeLog().back(), kDone);
    std::vector<Capture> captures = takeCaptures();
    EXPECT_EQ(captures.at(0), (Capture{42, kDebuggerdNativeBacktrace, 20}));
}

TEST_F(PidListDump, WritesTheSubjectAlsoAlone) {
    dumpTraceForAllProcess({}, "", path("list"));
    EXPECT_EQ(read("list"), "\n");
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{kDone});
}

TEST_F(PidListDump, EndsAtOnceWithoutAFile) {
    dumpTraceForAllProcess({41}, "Subject", path("no/list"));
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{error(kDump, "Failed to write subject to file")});
    EXPECT_EQ(takeCaptures(), std::vector<Capture>{});
}

TEST_F(PidListDump, GivesEachPidWhatTheOthersLeftOfTwentySeconds) {
    advanceClock(std::chrono::milliseconds(0));
    scriptCaptures([](const Capture& capture, int) {
        advanceClock(std::chrono::milliseconds(capture.pid == 1 ? 1600 : 18500));
        return -1;
    });
    dumpTraceForAllProcess({1, 2, 3, 4}, "Subject", path("list"));
    EXPECT_EQ(takeCaptures(), (std::vector<Capture>{{1, kDebuggerdNativeBacktrace, 20},
                                                    {2, kDebuggerdNativeBacktrace, 19}}));
    std::vector<LogEntry> log = takeLog();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 2],
              error(kDump, "Total timeout reached, aborting remaining processes"));
    EXPECT_EQ(log.back(), kDone);
}

}  // namespace android::test
