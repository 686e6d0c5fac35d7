#include "diagnostics/PidListDump.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

using PidListDump = FakeDevice;

const std::string kDone = "E dumpTraceForAllProcess: Dump trace for all processes done";

TEST_F(PidListDump, ReplacesTheFileByTheSubjectAndTheStacksInOrder) {
    addProcesses({41}, "0");
    write("list", "what an earlier dump left, which is longer than the new one");
    dumpTraceForAllProcess({42, 41, 42}, "Subject: hang", path("list"));
    EXPECT_EQ(read("list"), "Subject: hang\nnative 42\njava 41\nnative 42\n");
    EXPECT_EQ(takeLog().back(), kDone);
    dumpTraceForAllProcess({}, "", path("list"));
    EXPECT_EQ(read("list"), "\n");
    EXPECT_EQ(takeLog(), Texts{kDone});
    takeCaptures();
    dumpTraceForAllProcess({41}, "Subject", path("no/list"));
    EXPECT_EQ(takeLog(), Texts{"E dumpTraceForAllProcess: Failed to write subject to file"});
    EXPECT_EQ(takeCaptures(), Texts{});
}

TEST_F(PidListDump, GivesEachPidWhatTheOthersLeftOfTwentySeconds) {
    advanceClock(std::chrono::milliseconds(0));
    scriptCaptures([](int pid, DebuggerdDumpType, int) {
        advanceClock(std::chrono::milliseconds(pid == 1 ? 1600 : 18500));
        return -1;
    });
    dumpTraceForAllProcess({1, 2, 3, 4}, "Subject", path("list"));
    EXPECT_EQ(takeCaptures(), (Texts{"native 1 for 20 s", "native 2 for 19 s"}));
    Texts log = takeLog();
    EXPECT_EQ(
            Texts(log.end() - 2, log.end()),
            (Texts{"E dumpTraceForAllProcess: Total timeout reached, aborting remaining processes",
                   kDone}));
}

}  // namespace android::test
