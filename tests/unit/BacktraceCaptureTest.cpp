#include "diagnostics/BacktraceCapture.h"

#include <fcntl.h>

#include "tests/support/FakeDevice.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

class BacktraceCapture : public FakeDevice {
  protected:
    const std::string file = path("traces");
    const std::string says = "E dumpBacktraceToFileTimeout: ";
    const std::string announces = "I dumpBacktraceToFileTimeout: Dumping trace for pid 41 to " +
                                  file + " with timeout 5 seconds, adj = ";
};

TEST_F(BacktraceCapture, ChoosesTheKindByTheProcessClass) {
    const std::string skipped = "Unsupported process type for pid 41, skipping dump";
    const std::tuple<std::string, char, std::string, std::string> rows[] = {
            {"-950", '2', "", skipped},
            {"1001", '0', "", skipped},
            {"-1000", '1', "native 41", "Native stack dump succeeded for pid 41"},
            {"-900", '3', "java 41", "Java stack dump succeeded for pid 41"},
    };
    for (const auto& [adj, type, captured, said] : rows) {
        addProcesses({41}, adj);
        bool isCaptured = !captured.empty();
        EXPECT_EQ(dumpBacktraceToFileTimeout(41, 5, file), isCaptured) << adj;
        EXPECT_EQ(takeCaptures(), isCaptured ? Texts{captured + " for 5 s"} : Texts{}) << adj;
        EXPECT_EQ(takeLog(), (Texts{announces + adj + ", processType = " + type, says + said}));
        if (!isCaptured) {
            EXPECT_EQ(read("traces"), "(no such file)");
        }
    }
    EXPECT_EQ(read("traces"), "native 41\njava 41\n");
}

TEST_F(BacktraceCapture, FallsBackToNativeBehindAPartialJavaDump) {
    addProcesses({41}, "0");
    write("traces", "kept\n");
    scriptCaptures([](int pid, DebuggerdDumpType type, int fd) {
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
        writeCapture(pid, type, fd);
        return type == kDebuggerdJavaBacktrace ? -5 : 0;
    });
    EXPECT_TRUE(dumpBacktraceToFileTimeout(41, 5, file));
    EXPECT_EQ(read("traces"), "kept\njava 41\nnative 41\n");
    EXPECT_EQ(takeLog(),
              (Texts{announces + "0, processType = 3",
                     "E dumpTraces: Failed to dump backtrace for pid: 41, result -5",
                     says + "Java stack dump failed for pid 41, attempting to dump native stack...",
                     says + "Native stack dump succeeded for pid 41"}));
}

TEST_F(BacktraceCapture, TreatsAVanishedProcessAsNative) {
    scriptCaptures([](int, DebuggerdDumpType, int) { return 3; });
    EXPECT_FALSE(dumpBacktraceToFileTimeout(41, 5, file));
    EXPECT_EQ(takeLog(), (Texts{"E getOomAdjOfPid: Failed to open /proc/41/oom_score_adj",
                                announces + "-1000, processType = 1",
                                "E dumpTraces: Failed to dump backtrace for pid: 41, result 3",
                                says + "Native stack dump failed for pid 41"}));
}

TEST_F(BacktraceCapture, CountsTheBudgetInWholeSecondsAndAsksForNothingWithoutOne) {
    const std::string done = "Native stack dump succeeded for pid 41";
    const std::string noJava = "Timeout reached before dumping Java stack for pid 41";
    const std::string noNative = "Timeout reached before dumping Native stack for pid 41";
    // With what a Java capture takes before it fails.
    const std::tuple<const char*, int, int, Texts, std::string> rows[] = {
            {"0", 1, 900, {"java 41 for 1 s", "native 41 for 1 s"}, done},
            {"0", 3, 1000, {"java 41 for 3 s", "native 41 for 2 s"}, done},
            {"0", 1, 1000, {"java 41 for 1 s"}, noNative},
            {"0", 0, 0, {}, noJava},
            {"-1000", 0, 0, {}, noNative},
            {"0", INT32_MIN, 0, {}, noJava},
    };
    for (const auto& [adj, timeoutSecs, milliseconds, captures, said] : rows) {
        addProcesses({41}, adj);
        advanceClock(std::chrono::milliseconds(0));
        scriptCaptures([step = milliseconds](int, DebuggerdDumpType type, int) {
            advanceClock(std::chrono::milliseconds(step));
            return type == kDebuggerdJavaBacktrace ? 7 : 0;
        });
        EXPECT_EQ(dumpBacktraceToFileTimeout(41, timeoutSecs, file), said == done);
        EXPECT_EQ(takeCaptures(), captures);
        EXPECT_EQ(takeLog().back(), says + said);
    }
}

TEST_F(BacktraceCapture, SaysWhatItCannotOrMustNotWrite) {
    write("target", "kept");
    link("link", path("target"));
    for (const std::string& name : {std::string(), path("link"), path("no/traces"), path("")}) {
        EXPECT_FALSE(dumpTraces(41, name, 5, kDebuggerdNativeBacktrace));
        std::string said = name.empty() ? "File name is empty." : "Can't open file: " + name;
        EXPECT_EQ(takeLog(), Texts{"E dumpTraces: " + said});
    }
    EXPECT_EQ(read("target"), "kept");
    EXPECT_EQ(takeCaptures(), Texts{});
    // What can't be forced to storage is still a capture.
    EXPECT_TRUE(dumpTraces(41, "/dev/null", 5, kDebuggerdJavaBacktrace));
    EXPECT_EQ(takeLog(), Texts{"E dumpTraces: Failed to flush trace to disk."});
}

}  // namespace android::test
