#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "diagnostics/OutputPruning.h"
#include "diagnostics/String16Conversion.h"
#include "diagnostics/TraceDumpWorker.h"
#include "tests/support/FakeDevice.h"

namespace android::test {

namespace fs = std::filesystem;

class TraceDump : public FakeDevice {
  protected:
    // Files that were written so many hours ago.
    static void addOldFiles(const std::string& folder, const std::vector<int>& ages) {
        for (int age : ages) {
            const std::string file = folder + "/old" + std::to_string(age);
            writeFile(file, "");
            fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(age));
        }
    }

    TraceDumpTask task = {{}, {}, {}, "out/trace", false};
};

TEST_F(TraceDump, CapturesEachPidOnceAndItselfOnlyAsJava) {
    addProcess(30, "0");
    const std::string self = std::to_string(getpid());
    fs::create_directory("out");
    task = {{"30", "30", self}, {"20", "30", self, "20"}, {"p30"}, "out/trace", true};
    runTraceDump(task);
    Texts log = {"Start dumping trace for java processes",
                 "Dumping backtrace for PID: 30",
                 "Dumping backtrace for PID: " + self,
                 "Start dumping trace for native processes",
                 "Dumping backtrace for PID: 20",
                 self + " == getpid()",
                 "Start dumping trace for processes",
                 "Processes list is not empty",
                 "Pid 30 already dumped"};
    for (std::string& line : log) {
        line = "D dumpTraceAndBinderInfo: " + line;
    }
    EXPECT_EQ(takeEvents("D"), isDebugOn() ? log : Texts());
    scriptCaptures([](int, DebuggerdDumpType, int) { return 1; });
    runTraceDump(task);
    EXPECT_EQ(takeEvents("c"),
              (Texts{"captures java 30 for 1 s", "captures java " + self + " for 1 s",
                     "captures native 20 for 1 s"}));
}

TEST_F(TraceDump, CapturesItselfLikeOthersByItsName) {
    const std::string self = std::to_string(getpid());
    fs::create_directory("out");
    writeFile("/proc/" + self + "/cmdline", "stallscope");
    task = {{}, {self}, {"stallscope"}, "out/trace", true};
    runTraceDump(task);
    EXPECT_EQ(takeEvents("c"), Texts{"captures native " + self + " for 1 s"});
}

TEST_F(TraceDump, KeepsTheFiveNewestFilesAndAllElse) {
    for (const std::vector<int>& ages :
         {std::vector<int>{3, 1, 7, 2, 5, 6, 4}, {1, 2, 3, 4, 5}, {5, 4, 3, 2, 6, 1}}) {
        addOldFiles("out", ages);
        fs::create_directories("out/sub");
        link("out/dangling", "nowhere");
        mkfifo("out/fifo", 0600);
        for (int round = 0; round < 2; ++round) {
            pruneToNewestFiles("out");
            EXPECT_EQ(namesIn("out"),
                      (Texts{"dangling", "fifo", "old1", "old2", "old3", "old4", "old5", "sub"}));
        }
        fs::remove_all("out");
    }
    addOldFiles("out", {1, 2, 3, 4, 6});
    addOldFiles("elsewhere", {5, 7});
    link("out/link5", mFolder / "elsewhere/old5");
    link("out/link7", mFolder / "elsewhere/old7");
    pruneToNewestFiles("out");
    EXPECT_EQ(namesIn("out"), (Texts{"link5", "old1", "old2", "old3", "old4"}));
    EXPECT_EQ(namesIn("elsewhere"), (Texts{"old5", "old7"}));
}

TEST_F(TraceDump, PrunesUnlessProcessesCannotBeListed) {
    for (const auto& [names, left] : {std::pair<Texts, size_t>{{"p10"}, 6}, {{}, 5}}) {
        addOldFiles("out", {1, 2, 3, 4, 5, 6});
        task.names = names;
        takeEvents();
        rlimit former = {};
        getrlimit(RLIMIT_NOFILE, &former);
        const rlimit none = {0, former.rlim_max};
        if (!names.empty()) {
            setrlimit(RLIMIT_NOFILE, &none);
        }
        runTraceDump(task);
        setrlimit(RLIMIT_NOFILE, &former);
        const Texts said = {"E dumpTraceAndBinderInfo: Failed to open /proc directory"};
        EXPECT_EQ(takeLog(), names.empty() ? Texts() : said);
        EXPECT_EQ(namesIn("out").size(), left);
    }
}

TEST_F(TraceDump, EndsTheDaemonWhenItCannotPrune) {
    const auto prune = [] { pruneToNewestFiles("out"); };
    addOldFiles("out", {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(mount("out/old6", "out/old6", nullptr, MS_BIND, nullptr), 0);
    EXPECT_DEATH(runAsDaemon(prune), "Device or resource busy");
    umount("out/old6");
    // Two jobs at once: each removes what the other is about to look at.
    const auto pruneOften = [=] {
        for (int round = 0; round < 1000; ++round) {
            addOldFiles("out", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19});
            prune();
        }
    };
    EXPECT_DEATH(
            {
                std::thread other(pruneOften);
                runAsDaemon(pruneOften);
            },
            "No such file or directory");
    addProcess(10, "0");
    task.names = {"p10"};
    scriptCaptures([](int, DebuggerdDumpType, int) { return fs::remove_all("out") > 0 ? 0 : 1; });
    EXPECT_DEATH(runAsDaemon([&] { runTraceDump(task); }), "No such file or directory");
}

TEST(String16Conversion, GivesUtf8UpToTheFirstNul) {
    EXPECT_EQ(string16ToString(String16(u"\u00e9\u20ac\U0001f600\0b", 6)),
              "\u00e9\u20ac\U0001f600");
}

}  // namespace android::test
