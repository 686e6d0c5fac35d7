#include "diagnostics/TraceDumpJob.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "diagnostics/OutputPruning.h"
#include "diagnostics/String16Conversion.h"
#include "diagnostics/TraceDumpWorker.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace fs = std::filesystem;

using testing::Contains;
using testing::UnorderedElementsAre;

class TraceDump : public FakeDevice {
  protected:
    TraceDump() {
        addProcesses({10, 30}, "0");
        addProcesses({20}, "-1000");
        fs::create_directory(path("out"));
        task.file = path("out/trace");
    }

    // A file that was written before those with a smaller number.
    void addOldFile(int age) {
        std::string file = path("out/old" + std::to_string(age));
        write(file, "");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(age));
    }

    Texts outputFiles() const {
        Texts names;
        for (const fs::directory_entry& entry : fs::directory_iterator(path("out"))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    // Runs a job on pid 10 to the end of its worker, which says so by pruning.
    void runJob(bool withBinderInfo, const std::vector<String16>& names) {
        for (int age = 1; age <= 6; ++age) {
            addOldFile(age);
        }
        dumpTraceAndBinderInfo(10, withBinderInfo, names, String16(task.file.c_str()));
        for (int i = 0; i < 500 && fs::exists(path("out/old5")); ++i) {
            usleep(10'000);
        }
        usleep(10'000);
    }

    TraceDumpTask task;
    const std::string function = "dumpTraceAndBinderInfo: ";
};

TEST_F(TraceDump, WritesTheReportThenThePeersThenTheNamedProcesses) {
    Transaction calls[] = {{"outgoing", 10, 10, 20, 20, 3000}, {"outgoing", 10, 10, 30, 30, 1}};
    write(kBinderLogPath, "proc 10\n" + calls[0].logged() + calls[1].logged());
    runJob(true, {String16("p10"), String16("p20")});
    EXPECT_EQ(read("out/trace"), "Binder Info:\n" + calls[0].reported() + "\n" +
                                         calls[1].reported() + "\njava 30\nnative 20\njava 10\n");
    EXPECT_EQ(takeCaptures(), (Texts{"java 30 for 1 s", "native 20 for 1 s", "java 10 for 1 s"}));
    EXPECT_THAT(outputFiles(), UnorderedElementsAre("old1", "old2", "old3", "old4", "trace"));
    Texts log = takeLog();
    EXPECT_THAT(log, Contains("D " + function + "Directory exists: " + path("out")));
    EXPECT_THAT(log, Contains("I " + function + "Dumping trace for 'p10' (PID: 10)"));
}

TEST_F(TraceDump, SaysWhenThereIsNoReport) {
    // No binder log, a log without the process, a process without calls.
    for (const char* log : {"proc 11\n", "proc 10\n", ""}) {
        write(kBinderLogPath, log);
        if (!*log) {
            fs::remove(kBinderLogPath);
        }
        fs::remove(task.file);
        runJob(true, {});
        EXPECT_EQ(read("out/trace"), "Binder Info:\nNo binder info found\n");
    }
    write(kBinderLogPath, "proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    runJob(false, {String16("p30")});
    EXPECT_EQ(read("out/trace"), "Binder Info:\nNo binder info found\njava 30\n");
}

TEST_F(TraceDump, CreatesTheDirectoryOrSaysWhyNot) {
    dumpTraceAndBinderInfo(10, true, {}, String16(path("out/a/b/trace").c_str()));
    EXPECT_THAT(takeLog(), Contains("I " + function + "Created directory: " + path("out/a/b")));
    EXPECT_EQ(read("out/a/b/trace"), "Binder Info:\nNo binder info found\n");
    write("file", "");
    const std::string noDirectory = "E " + function + "Failed to create directory: ";
    const std::string noFile = "E " + function + "Failed to open file: ";
    const std::pair<std::string, std::string> rows[] = {
            {path("file/sub/trace"), noDirectory + path("file/sub") + " [error: Not a directory]"},
            {"relative", noDirectory + " [error: Invalid argument]"},
            {"", noDirectory + " [error: Invalid argument]"},
            {path("file/trace"), noFile + path("file/trace")},
            {path("out"), noFile + path("out")}};
    for (const auto& [file, said] : rows) {
        dumpTraceAndBinderInfo(10, true, {String16("p10")}, String16(file.c_str()));
        EXPECT_EQ(takeLog().back(), said);
    }
    usleep(50'000);
    EXPECT_EQ(takeCaptures(), Texts{});
}

TEST_F(TraceDump, CapturesEachPidOnceAsTheFirstThatItIsListedAs) {
    const std::string self = std::to_string(getpid());
    const std::string dumpsSelf = "Dumping backtrace for PID: " + self;
    const std::string isSelf = self + " == getpid()";
    task.withBinderInfo = true;
    task.javaPids = {"30", "30", self};
    task.nativePids = {"20", "30", self, "20", "10"};
    task.names = {"p20"};
    runTraceDump(task);
    EXPECT_EQ(takeCaptures(), (Texts{"java 30 for 1 s", "java " + self + " for 1 s",
                                     "native 20 for 1 s", "native 10 for 1 s"}));
    Texts log = takeLog();
    ASSERT_EQ(log.size(), 12u);
    std::sort(log.end() - 3, log.end());
    Texts expected = {"Start dumping trace for java processes",
                      "Dumping backtrace for PID: 30",
                      dumpsSelf,
                      "Start dumping trace for native processes",
                      "Dumping backtrace for PID: 20",
                      isSelf,
                      "Dumping backtrace for PID: 10",
                      "Start dumping trace for processes",
                      "Processes list is not empty",
                      "Pid 10 already dumped",
                      "Pid 20 already dumped",
                      "Pid 30 already dumped"};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(log[i], "D " + function + expected[i]);
    }
}

TEST_F(TraceDump, MatchesNamesByTheWholeJoinedCommandLine) {
    write("/proc/50/cmdline", std::string("sh\0-c\0x\0", 8));
    write("/proc/51/cmdline", std::string("p10\0", 4));
    write("/proc/52/cmdline", "p10\nmore");
    write("/proc/53/cmdline", "");
    write("/proc/54/cmdline", "\nx");
    write("/proc/x55/cmdline", "p10");
    write("/proc/56x/cmdline", "twin");
    write("/proc/57", "a file");
    const std::pair<Texts, Texts> rows[] = {
            {{"p10"}, {"java 10 for 1 s", "native 51 for 1 s", "native 52 for 1 s"}},
            {{"sh"}, {}},
            {{"sh-cx", "sh-cx"}, {"native 50 for 1 s"}},
            {{"p1", "p100"}, {}},
            {{""}, {"native 54 for 1 s"}},
            {{"twin"}, {"native 56 for 1 s"}},
    };
    for (const auto& [names, captures] : rows) {
        task.names = names;
        runTraceDump(task);
        EXPECT_THAT(takeCaptures(), testing::UnorderedElementsAreArray(captures)) << names[0];
    }
    EXPECT_THAT(takeLog(), Contains("D " + function + "Checking process: sh-cx (PID: 50)"));
}

TEST_F(TraceDump, KeepsTheFiveNewestFilesAndAllElseOrEndsTheProcess) {
    for (int age : {3, 1, 7, 2, 5, 6, 4}) {
        addOldFile(age);
    }
    fs::create_directory(path("out/sub"));
    fs::create_symlink("nowhere", path("out/dangling"));
    mkfifo(path("out/fifo").c_str(), 0600);
    for (int round = 0; round < 2; ++round) {
        pruneToNewestFiles(path("out"));
        EXPECT_THAT(outputFiles(), UnorderedElementsAre("dangling", "fifo", "old1", "old2", "old3",
                                                        "old4", "old5", "sub"));
    }
    EXPECT_DEATH(runAsDaemon([&] { pruneToNewestFiles(path("no")); }), "filesystem_error");
    EXPECT_DEATH(runAsDaemon([&] { pruneToNewestFiles(path("out/old1")); }), "filesystem_error");
    String16 tooLong(("/" + std::string(5000, 'x') + "/trace").c_str());
    EXPECT_DEATH(runAsDaemon([&] { dumpTraceAndBinderInfo(10, true, {}, tooLong); }),
                 "filesystem_error");
}

TEST(String16Conversion, GivesUtf8UpToTheFirstNul) {
    EXPECT_EQ(string16ToString(String16(u"\u00e9\u20ac\U0001f600\0b", 6)),
              "\u00e9\u20ac\U0001f600");
}

}  // namespace android::test
