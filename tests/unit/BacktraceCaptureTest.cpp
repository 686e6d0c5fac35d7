#include "diagnostics/BacktraceCapture.h"

#include <fcntl.h>

#include <filesystem>

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

constexpr DebuggerdDumpType kJava = kDebuggerdJavaBacktrace;
constexpr DebuggerdDumpType kNative = kDebuggerdNativeBacktrace;
const std::string kCapture = "dumpBacktraceToFileTimeout";

LogEntry announced(int pid, const std::string& file, int timeout, int adj, int type) {
    return info(kCapture, "Dumping trace for pid " + std::to_string(pid) + " to " + file +
                                  " with timeout " + std::to_string(timeout) + " seconds, adj = " +
                                  std::to_string(adj) + ", processType = " + std::to_string(type));
}

int failAfter(int milliseconds, const Capture& capture) {
    advanceClock(std::chrono::milliseconds(milliseconds));
    return capture.type == kDebuggerdJavaBacktrace ? 7 : 0;
}

}  // namespace

class BacktraceCapture : public FakeDevice {
  protected:
    std::string file = path("traces");
};

TEST_F(BacktraceCapture, ChoosesTheKindByTheProcessClass) {
    struct {
        const char* adj;
        int type;
        std::vector<Capture> captures;
        const char* content;
        std::vector<LogEntry> log;
    } rows[] = {
            {"-1000",
             1,
             {{41, kNative, 5}},
             "native 41\n",
             {error(kCapture, "Native stack dump succeeded for pid 41")}},
            {"-900",
             3,
             {{41, kJava, 5}},
             "java 41\n",
             {error(kCapture, "Java stack dump succeeded for pid 41")}},
            {"1000",
             3,
             {{41, kJava, 5}},
             "java 41\n",
             {error(kCapture, "Java stack dump succeeded for pid 41")}},
            {"-950",
             2,
             {},
             "(no such file)",
             {error(kCapture, "Unsupported process type for pid 41, skipping dump")}},
            {"1001",
             0,
             {},
             "(no such file)",
             {error(kCapture, "Unsupported process type for pid 41, skipping dump")}},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.adj);
        std::filesystem::remove(file);
        addProcFile("41/oom_score_adj", row.adj);
        EXPECT_EQ(dumpBacktraceToFileTimeout(41, 5, file), !row.captures.empty());
        EXPECT_EQ(takeCaptures(), row.captures);
        EXPECT_EQ(read("traces"), row.content);
        row.log.insert(row.log.begin(), announced(41, file, 5, atoi(row.adj), row.type));
        EXPECT_EQ(takeLog(), row.log);
    }
}

TEST_F(BacktraceCapture, FallsBackToNativeBehindAPartialJavaDump) {
    addProcFile("41/oom_score_adj", "0");
    write("traces", "kept\n");
    scriptCaptures([](const Capture& capture, int fd) {
        writeCapture(capture, fd);
        return capture.type == kDebuggerdJavaBacktrace ? -5 : 0;
    });
    EXPECT_TRUE(dumpBacktraceToFileTimeout(41, 5, file));
    EXPECT_EQ(read("traces"), "kept\njava 41\nnative 41\n");
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{
                      announced(41, file, 5, 0, 3),
                      error("dumpTraces", "Failed to dump backtrace for pid: 41, result -5"),
                      error(kCapture,
                            "Java stack dump failed for pid 41, attempting to dump native "
                            "stack..."),
                      error(kCapture, "Native stack dump succeeded for pid 41")}));
}

TEST_F(BacktraceCapture, CountsTheBudgetInWholeSeconds) {
    addProcFile("41/oom_score_adj", "0");
    advanceClock(std::chrono::milliseconds(0));
    scriptCaptures([](const Capture& capture, int) { return failAfter(900, capture); });
    EXPECT_TRUE(dumpBacktraceToFileTimeout(41, 1, file));
    EXPECT_EQ(takeCaptures(), (std::vector<Capture>{{41, kJava, 1}, {41, kNative, 1}}));
    scriptCaptures([](const Capture& capture, int) { return failAfter(1000, capture); });
    takeLog();
    EXPECT_FALSE(dumpBacktraceToFileTimeout(41, 1, file));
    EXPECT_EQ(takeCaptures(), (std::vector<Capture>{{41, kJava, 1}}));
    EXPECT_EQ(takeLog().back(),
              error(kCapture, "Timeout reached before dumping Native stack for pid 41"));
    EXPECT_TRUE(dumpBacktraceToFileTimeout(41, 3, file));
    EXPECT_EQ(takeCaptures(), (std::vector<Capture>{{41, kJava, 3}, {41, kNative, 2}}));
}

TEST_F(BacktraceCapture, AsksForNothingWithoutTime) {
    for (const char* kind : {"Java", "Native"}) {
        addProcFile("41/oom_score_adj", *kind == 'J' ? "0" : "-1000");
        for (int timeout : {0, -1, INT32_MIN}) {
            takeLog();
            EXPECT_FALSE(dumpBacktraceToFileTimeout(41, timeout, file));
            EXPECT_EQ(takeLog().back(),
                      error(kCapture, std::string("Timeout reached before dumping ") + kind +
                                              " stack for pid 41"));
        }
    }
    EXPECT_EQ(takeCaptures(), std::vector<Capture>{});
}

TEST_F(BacktraceCapture, TreatsAVanishedProcessAsNative) {
    scriptCaptures([](const Capture&, int) { return 3; });
    EXPECT_FALSE(dumpBacktraceToFileTimeout(41, 5, file));
    EXPECT_EQ(takeLog(),
              (std::vector<LogEntry>{
                      error("getOomAdjOfPid", "Failed to open /proc/41/oom_score_adj"),
                      announced(41, file, 5, -1000, 1),
                      error("dumpTraces", "Failed to dump backtrace for pid: 41, result 3"),
                      error(kCapture, "Native stack dump failed for pid 41")}));
}

TEST_F(BacktraceCapture, RefusesFilesItCannotOrMustNotWrite) {
    EXPECT_FALSE(dumpTraces(41, "", 5, kNative));
    EXPECT_EQ(takeLog(), std::vector<LogEntry>{error("dumpTraces", "File name is empty.")});
    write("target", "kept");
    std::filesystem::create_symlink(path("target"), path("link"));
    for (const std::string& name : {path("link"), path("no/traces"), path("")}) {
        EXPECT_FALSE(dumpTraces(41, name, 5, kNative));
        EXPECT_EQ(takeLog(),
                  std::vector<LogEntry>{error("dumpTraces", "Can't open file: " + name)});
    }
    EXPECT_EQ(read("target"), "kept");
    EXPECT_EQ(takeCaptures(), std::vector<Capture>{});
}

TEST_F(BacktraceCapture, HandsOverAnAppendingCloseOnExecDescriptor) {
    int descriptor = -1;
    scriptCaptures([&](const Capture&, int fd) {
        descriptor = fd;
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND), O_WRONLY | O_APPEND);
        return 0;
    });
    EXPECT_TRUE(dumpTraces(41, file, 5, kJava));
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "left open";
    // What can't be forced to storage is still a capture.
    EXPECT_TRUE(dumpTraces(41, "/dev/null", 5, kJava));
    EXPECT_EQ(takeLog(),
              std::vector<LogEntry>{error("dumpTraces", "Failed to flush trace to disk.")});
}

}  // namespace android::test
