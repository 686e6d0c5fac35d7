#include "diagnostics/TraceDumpJob.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "diagnostics/OutputPruning.h"
#include "diagnostics/String16Conversion.h"
#include "diagnostics/TraceDumpWorker.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

namespace fs = std::filesystem;

constexpr DebuggerdDumpType kJava = kDebuggerdJavaBacktrace;
constexpr DebuggerdDumpType kNative = kDebuggerdNativeBacktrace;
const std::string kJob = "dumpTraceAndBinderInfo";

bool hasLine(const std::vector<LogEntry>& log, int priority, const std::string& message) {
    return std::any_of(log.begin(), log.end(), [&](const LogEntry& entry) {
        size_t end = entry.text.find(":LINE: ");
        return entry.priority == priority && end != std::string::npos &&
               entry.text.substr(end + 7) == message;
    });
}

}  // namespace

class TraceDump : public FakeDevice {
  protected:
    TraceDump() {
        addProcess(10, "app", "app\n", "0");
        addProcess(20, "media", "media\n", "-1000");
        addProcess(30, "java", "java\n", "0");
        fs::create_directory(path("out"));
        task.file = path("out/trace");
        takeLog();
    }

    // Runs a job to the end of its worker, which says so by pruning.
    void runJob(int pid, bool withBinderInfo, const std::vector<String16>& names) {
        for (int i = 0; i < 6; ++i) {
            write("out/old" + std::to_string(i), "");
            fs::last_write_time(path("out/old" + std::to_string(i)),
                                fs::file_time_type::clock::now() - std::chrono::hours(9 - i));
        }
        dumpTraceAndBinderInfo(pid, withBinderInfo, names, String16(task.file.c_str()));
        for (int i = 0; i < 500 && fs::exists(path("out/old1")); ++i) {
            usleep(10'000);
        }
        usleep(10'000);
    }

    TraceDumpTask task;
};

TEST_F(TraceDump, WritesTheReportThenThePeersThenTheNamedProcesses) {
    setBinderLog("proc 10\n" + outgoing(10, 10, 20, 20, 3000) + outgoing(10, 10, 30, 30, 1));
    runJob(10, true, {String16("app"), String16("media")});
    EXPECT_EQ(
            read("out/trace"),
            "Binder Info:\n"
            "outgoing transaction from 10(app):10(app) to 20(media):20(media) elapsed: 3.000000 s "
            "code: 3\n"
            "outgoing transaction from 10(app):10(app) to 30(java):30(java) elapsed: 0.001000 s "
            "code: 3\n"
            "java 30\n"
            "native 20\n"
            "java 10\n");
    EXPECT_EQ(takeCaptures(),
              (std::vector<Capture>{{30, kJava, 1}, {20, kNative, 1}, {10, kJava, 1}}));
    std::vector<LogEntry> log = takeLog();
    EXPECT_TRUE(hasLine(log, ANDROID_LOG_DEBUG, "Directory exists: " + path("out")));
    EXPECT_TRUE(hasLine(log, ANDROID_LOG_DEBUG, "Pid 20 already dumped"));
    EXPECT_TRUE(hasLine(log, ANDROID_LOG_INFO, "Dumping trace for 'app' (PID: 10)"));
    EXPECT_EQ(filesIn("out"), (Texts{"old2", "old3", "old4", "old5", "trace"}));
}

TEST_F(TraceDump, SaysWhenThereIsNoReport) {
    // No binder log, a log without the process, a process without calls.
    for (const char* log : {"", "proc 11\n", "proc 10\n"}) {
        if (*log) {
            setBinderLog(log);
        }
        fs::remove(task.file);
        takeLog();
        runJob(10, true, {});
        EXPECT_EQ(read("out/trace"), "Binder Info:\nNo binder info found\n");
        EXPECT_EQ(hasLine(takeLog(), ANDROID_LOG_ERROR, "Parser file failed"), false);
    }
    EXPECT_EQ(takeCaptures(), std::vector<Capture>{});
}

TEST_F(TraceDump, LeavesTheBinderLogAloneWithoutBinderInfo) {
    setBinderLog("proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    write("out/trace", "kept\n");
    runJob(10, false, {String16("java")});
    EXPECT_EQ(read("out/trace"), "kept\njava 30\n");
    EXPECT_FALSE(hasLine(takeLog(), ANDROID_LOG_DEBUG, "Start dumping trace for java processes"));
}

TEST_F(TraceDump, CreatesTheDirectoryOrSaysWhyNot) {
    task.file = path("out/a/b/trace");
    runJob(10, true, {});
    EXPECT_TRUE(hasLine(takeLog(), ANDROID_LOG_INFO, "Created directory: " + path("out/a/b")));
    EXPECT_EQ(read("out/a/b/trace"), "Binder Info:\nNo binder info found\n");

    write("file", "");
    struct {
        std::string file;
        std::string said;
    } rows[] = {
            {path("file/sub/trace"),
             "Failed to create directory: " + path("file/sub") + " [error: Not a directory]"},
            {"relative", "Failed to create directory:  [error: Invalid argument]"},
            {"", "Failed to create directory:  [error: Invalid argument]"},
            {path("file/trace"), "Failed to open file: " + path("file/trace")},
            {path("out"), "Failed to open file: " + path("out")},
    };
    for (const auto& row : rows) {
        takeLog();
        dumpTraceAndBinderInfo(10, true, {}, String16(row.file.c_str()));
        std::vector<LogEntry> log = takeLogWithoutDebug();
        ASSERT_FALSE(log.empty()) << row.file;
        EXPECT_EQ(log.back(), error(kJob, row.said));
    }
    usleep(50'000);
    EXPECT_EQ(takeCaptures(), std::vector<Capture>{});
}

TEST_F(TraceDump, CapturesEachPidOnceAsTheFirstThatItIsListedAs) {
    std::string self = std::to_string(getpid());
    task.javaPids = {"30", "30", self};
    task.nativePids = {"20", "30", self, "20"};
    task.withBinderInfo = true;
    runTraceDump(task);
    EXPECT_EQ(takeCaptures(),
              (std::vector<Capture>{{30, kJava, 1}, {getpid(), kJava, 1}, {20, kNative, 1}}));
    std::vector<LogEntry> log = takeLog();
    EXPECT_TRUE(hasLine(log, ANDROID_LOG_DEBUG, self + " == getpid()"));
    EXPECT_TRUE(hasLine(log, ANDROID_LOG_DEBUG, "Dumping backtrace for PID: 30"));
    EXPECT_FALSE(hasLine(log, ANDROID_LOG_DEBUG, "Processes list is not empty"));
}

TEST_F(TraceDump, MatchesNamesByTheWholeJoinedCommandLine) {
    addProcFile("50/cmdline", std::string("sh\0-c\0x\0", 8));
    addProcFile("51/cmdline", std::string("app\0", 4));
    addProcFile("52/cmdline", "app\nmore");
    addProcFile("53/cmdline", "");
    addProcFile("54/cmdline", "\nx");
    addProcFile("x55/cmdline", "app");
    addProcFile("56x/cmdline", "twin");
    addProcFile("57", "a file");
    for (const char* pid : {"50", "51", "52", "53", "54", "55", "56"}) {
        addProcFile(std::string(pid) + "/oom_score_adj", "-1000");
    }
    struct {
        Texts names;
        std::vector<int> pids;
    } rows[] = {
            {{"app"}, {10, 51, 52}}, {{"sh"}, {}}, {{"sh-cx"}, {50}}, {{"sh-cx", "sh-cx"}, {50}},
            {{"ap", "apps"}, {}},    {{""}, {54}}, {{"twin"}, {56}},
    };
    for (const auto& row : rows) {
        task.names = row.names;
        runTraceDump(task);
        std::vector<int> pids;
        for (const Capture& capture : takeCaptures()) {
            pids.push_back(capture.pid);
        }
        std::sort(pids.begin(), pids.end());
        EXPECT_EQ(pids, row.pids) << row.names[0];
    }
    EXPECT_TRUE(hasLine(takeLog(), ANDROID_LOG_DEBUG, "Checking process: sh-cx (PID: 50)"));
}

TEST_F(TraceDump, KeepsTheFiveNewestFilesAndAllElse) {
    for (int i = 0; i < 7; ++i) {
        std::string name = "out/file" + std::to_string(i);
        write(name, "");
        fs::last_write_time(path(name), fs::file_time_type::clock::now() -
                                                std::chrono::minutes(i == 3 ? 60 : i));
    }
    fs::create_directory(path("out/sub"));
    fs::create_symlink("nowhere", path("out/dangling"));
    mkfifo(path("out/fifo").c_str(), 0600);
    pruneToNewestFiles(path("out"));
    EXPECT_EQ(filesIn("out"),
              (Texts{"dangling", "fifo", "file0", "file1", "file2", "file4", "file5", "sub"}));
    pruneToNewestFiles(path("out"));
    EXPECT_EQ(filesIn("out").size(), 8u);
}

TEST_F(TraceDump, EndsTheProcessOnADirectoryThatCannotBeExaminedOrPruned) {
    EXPECT_DEATH(runAsDaemon([&] { pruneToNewestFiles(path("no")); }), "filesystem_error");
    write("file", "");
    EXPECT_DEATH(runAsDaemon([&] { pruneToNewestFiles(path("file")); }), "filesystem_error");
    std::string tooLong = "/" + std::string(5000, 'x') + "/trace";
    EXPECT_DEATH(
            runAsDaemon([&] { dumpTraceAndBinderInfo(10, true, {}, String16(tooLong.c_str())); }),
            "filesystem_error");
}

TEST(String16Conversion, GivesUtf8UpToTheFirstNul) {
    EXPECT_EQ(string16ToString(String16("plain")), "plain");
    EXPECT_EQ(string16ToString(String16(u"a\u00e9\u20ac\U0001f600")), "a\u00e9\u20ac\U0001f600");
    EXPECT_EQ(string16ToString(String16(u"a\0b", 3)), "a");
    EXPECT_EQ(string16ToString(String16()), "");
}

}  // namespace android::test
