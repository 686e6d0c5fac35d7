// The files that the daemon writes, those that it refuses to write, and captures that take long.

#include <chrono>
#include <filesystem>
#include <future>
#include <regex>
#include <set>

#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::StartsWith;

class DumpsTest : public testing::Test {
  protected:
    DumpsTest() {
        fs::create_directories(mFolder);
        takeDaemonLog();
    }

    bool capture(pid_t pid, int timeoutSecs, const std::string& file) {
        bool result = false;
        EXPECT_TRUE(mDaemon->dumpTraceForPidWithTimeout(pid, timeoutSecs, file, &result).isOk());
        return result;
    }

    void dump(pid_t pid, bool withBinderInfo, const Texts& names, const std::string& file) {
        std::vector<String16> names16;
        for (const std::string& name : names) {
            names16.emplace_back(name.c_str());
        }
        const String16 file16(file.c_str());
        EXPECT_TRUE(mDaemon->dumpTraceWithBinderInfo(pid, withBinderInfo, names16, file16).isOk());
    }

    const sp<IStallscope> mDaemon = stallscope();
    // One for each test: a job that finds its folder gone when it prunes ends the daemon.
    const std::string mFolder = std::string("/tmp/dumps/") +
                                testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string mFile = mFolder + "/file";
    inline static StagedHang sHang;  // of the fixtures below
};

TEST_F(DumpsTest, FdListingReplacesTheFileWithEveryDescriptor) {
    pid_t pid = startInBackground(
            "bash -c 'coproc sleep 10000; exec 3>/tmp/deleted "
            "4<>/dev/udp/127.0.0.1/9; rm /tmp/deleted; exec 6</; wait'");
    const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
    EXPECT_TRUE(eventually([&] { return output("readlink " + folder + "/6") == "/"; }));
    writeFile(mFile, std::string(100000, 'x'));
    int size = 0;
    EXPECT_TRUE(mDaemon->getFdSize(pid, &size).isOk());
    EXPECT_TRUE(mDaemon->catchFdInfo(mFile, pid).isOk());
    Texts expected;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        expected.push_back(entry.path().string() + " -> " + fs::read_symlink(entry).string());
    }
    const std::string text = readFile(mFile);
    EXPECT_EQ(expected, linesOf(text));
    EXPECT_EQ(expected.size() + 2, static_cast<size_t>(size)) << "\".\" and \"..\" are counted";
    EXPECT_EQ(1U, count(text, folder + "/3 -> /tmp/deleted (deleted)\n"));
    EXPECT_EQ(1U, count(text, folder + "/4 -> socket:["));
    EXPECT_EQ(2U, count(text, " -> pipe:["));
}

TEST_F(DumpsTest, DescriptorsClosedDuringTheWalkAreLoggedAndLeftOut) {
    pid_t pid = startInBackground(
            "bash -c 'while true; do"
            " for fd in {10..60}; do eval \"exec $fd</dev/null\"; done;"
            " for fd in {10..60}; do eval \"exec $fd<&-\"; done; done'");
    const std::string link = "/proc/" + std::to_string(pid) + "/fd/[0-9]+";
    EXPECT_TRUE(eventually([&] {
        EXPECT_TRUE(mDaemon->catchFdInfo(mFile, pid).isOk());
        EXPECT_THAT(linesOf(readFile(mFile)), Each(MatchesRegex(link + " -> .+")));
        const Texts log = takeDaemonLog();
        EXPECT_THAT(log, Each(MatchesRegex("E writeFdInfoToFile: Error reading link " + link)));
        return !log.empty();
    }));
}

TEST_F(DumpsTest, LinksAndFilesThatCannotBeWrittenAreRefused) {
    const std::string link = mFolder + "/link";
    writeFile(mFile, "kept");
    fs::create_symlink(mFile, link);
    EXPECT_TRUE(mDaemon->catchFdInfo("/sys/a", 1).isOk());
    EXPECT_TRUE(mDaemon->dumpTraceForPidList({1}, "subject", "/sys/a").isOk());
    dump(kNobody, true, {}, "/sys/a/b");
    EXPECT_FALSE(capture(1, 1, "/sys/a"));
    EXPECT_FALSE(capture(1, 1, link));
    EXPECT_EQ("kept", readFile(mFile));
    const Texts refusals = {"E writeFdInfoToFile: open filePath fail: /sys/a",
                            "E dumpTraceForAllProcess: Failed to write subject to file",
                            "E dumpTraces: Can't open file: /sys/a",
                            "E dumpTraces: Can't open file: " + link};
    EXPECT_THAT(takeDaemonLog(), IsSupersetOf(refusals));
}

TEST_F(DumpsTest, DirectoryIsPrunedToItsFiveNewestFiles) {
    fs::create_directory(mFolder + "/subdirectory");
    for (int i = 1; i <= 7; ++i) {
        const std::string file = mFolder + "/former" + std::to_string(i);
        writeFile(file, "");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(i));
    }
    dump(kNobody, true, {}, mFolder + "/new");
    auto files = [&] { return output("ls -x -w 200 " + mFolder); };
    EXPECT_TRUE(eventually([&] { return count(files(), "former") <= 4; }));
    EXPECT_EQ("former1  former2  former3  former4  new  subdirectory", files());
    EXPECT_EQ("Binder Info:\nNo binder info found\n", readFile(mFolder + "/new"));
}

// Several attempts: the second that each capture has may be too little for a busy emulated machine.
TEST_F(DumpsTest, TwoJobsInOneDirectoryCaptureWhatIsNamedExactly) {
    const pid_t pids[] = {startInBackground("sleep 3000"), startInBackground("sleep 30001")};
    Texts texts(2);
    auto isWhole = [&](int job) {
        return count(texts[job], "\n----- end " + std::to_string(pids[job])) == 1;
    };
    for (int attempt = 1; attempt <= 10 && !(isWhole(0) && isWhole(1)); ++attempt) {
        const std::string folder = mFolder + "/" + std::to_string(attempt);
        const std::string files[] = {folder + "/with", folder + "/without"};
        dump(kNobody, true, {"sleep3000"}, files[0]);
        dump(kNobody, false, {"sleep30001"}, files[1]);
        EXPECT_THAT(takeDaemonLog(),
                    Contains("I dumpTraceAndBinderInfo: Created directory: " + folder));
        auto isDone = [&](int job) {
            texts[job] = isWhole(job) ? texts[job] : readFile(files[job]);
            return isWhole(job);
        };
        eventually([&] { return isDone(0) && isDone(1); }, 4);
    }
    EXPECT_TRUE(isWhole(0) && isWhole(1)) << texts[0] << texts[1];
    EXPECT_THAT(texts[0], StartsWith("Binder Info:\nNo binder info found\n\n\n----- pid "));
    for (const std::string& text : texts) {
        EXPECT_EQ(1U, count(text, "\n\n----- pid ")) << text;
    }
}

// Processes that can't be captured at once, or not at all.
class SlowTest : public DumpsTest {
  protected:
    static void SetUpTestSuite() { sHang = StagedHang("slow"); }
    static bool isBeingCaptured(pid_t pid) { return statusOf(pid, "TracerPid") != "0"; }
};

TEST_F(SlowTest, TargetInUninterruptibleSleepFailsWithinItsBudget) {
    Clock::time_point start = Clock::now();
    EXPECT_FALSE(capture(sHang["SLOW1"], 2, mFile));
    EXPECT_LT(Clock::now() - start, seconds(4));
    EXPECT_FALSE(isBeingCaptured(sHang["SLOW1"]));
    EXPECT_THAT(takeDaemonLog(),
                ElementsAre(EndsWith(" with timeout 2 seconds, adj = -1000, processType = 1"),
                            StartsWith("E dumpTraces: Failed to dump backtrace for pid: "),
                            StartsWith("E dumpBacktraceToFileTimeout: Native stack dump failed ")));
}

// The first slow process may use up what is left of the 20 seconds.
TEST_F(SlowTest, ListEndsWithItsTotalBudgetWhileOthersAreAnswered) {
    writeFile(mFile, "of a former dump\n");
    Clock::time_point start = Clock::now();
    std::future<bool> dump = std::async(std::launch::async, [&] {
        std::vector<int32_t> pids = {sHang["STOPPED"], sHang["SLOW1"], sHang["SLOW2"],
                                     sHang["SLOW3"]};
        return mDaemon->dumpTraceForPidList(pids, "Hang of the camera", mFile).isOk();
    });
    EXPECT_TRUE(eventually([] { return isBeingCaptured(sHang["SLOW1"]); }));
    int size = 0;
    EXPECT_TRUE(mDaemon->getFdSize(1, &size).isOk());
    EXPECT_EQ(std::future_status::timeout, dump.wait_for(seconds(0)));

    EXPECT_TRUE(dump.get());
    EXPECT_LE(seconds(19), Clock::now() - start);
    EXPECT_LT(Clock::now() - start, seconds(24));
    EXPECT_THAT(takeDaemonLog(), Contains("E dumpTraceForAllProcess: Total timeout reached, "
                                          "aborting remaining processes"));
    const std::string text = readFile(mFile);
    EXPECT_THAT(text,
                ContainsRegex(sHang.text(
                        "^Hang of the camera\n.*----- pid $STOPPED at .*stage::waitForTheEnd.*"
                        "----- end $STOPPED -----.*----- pid $SLOW1 at ")));
    EXPECT_EQ(0U, count(text, sHang.text("----- pid $SLOW3 at ")));
    EXPECT_EQ("T (stopped)", statusOf(sHang["STOPPED"], "State"));
}

TEST_F(SlowTest, AsynchronousListReturnsBeforeItsFirstCapture) {
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync({sHang["SLOW1"]}, "slow", mFile).isOk());
    EXPECT_TRUE(eventually([] { return isBeingCaptured(sHang["SLOW1"]); }));

    const std::string second = mFolder + "/second";
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync({sHang["STOPPED"]}, "", second).isOk());
    const std::string end = sHang.text("\n----- end $STOPPED -----\n");
    EXPECT_TRUE(eventually([&] { return count(readFile(second), end) == 1; }));
    EXPECT_THAT(readFile(second), StartsWith("\n\n\n----- pid ")) << "the empty subject is first";
    EXPECT_TRUE(isBeingCaptured(sHang["SLOW1"]));
}

// A hang with a JVM among the peers.
class JvmTest : public DumpsTest {
  protected:
    static void SetUpTestSuite() { sHang = StagedHang("jvm-chain"); }
};

TEST_F(JvmTest, JavaProcessIsCapturedAsJavaOrElseAsNative) {
    writeFile(mFile, "kept\n");
    EXPECT_TRUE(capture(sHang["JVM"], 20, mFile));
    EXPECT_TRUE(capture(sHang["APP"], 20, mFile));
    EXPECT_THAT(readFile(mFile),
                ContainsRegex(
                        sHang.text("^kept\n\n\n----- pid $JVM at .*Full thread dump OpenJDK.*"
                                   "at StageJvm.callServiceAndWait\\(.*at StageJvm.onTransact\\(.*"
                                   "----- end $JVM -----\n\n\n----- pid $APP at .*"
                                   "stage::callServiceAndWait\\(.*----- end $APP -----")));
    const std::string capturing = "E dumpBacktraceToFileTimeout: ";
    EXPECT_THAT(takeDaemonLog(),
                IsSupersetOf(sHang.texts(
                        {capturing + "Java stack dump succeeded for pid $JVM",
                         capturing + "Java stack dump failed for pid $APP, attempting to dump "
                                     "native stack...",
                         capturing + "Native stack dump succeeded for pid $APP"})));
}

// A process has a second for its capture, which is little for a busy emulated machine: hence
// several attempts, until each capture has been through.
TEST_F(JvmTest, DumpHasTheChainThenTheStacksOfPeersAndOfNamedProcesses) {
    Texts chain = {"Binder Info:"};
    for (const char* caller : {"APP", "JVM", "MEDIA"}) {
        chain.push_back(namedLines(callsOf(sHang[caller], "outgoing")).at(0));
    }
    const std::regex order(sHang.text("($JVM )?($MEDIA )?($HARDWARE )?($APP )?"));
    std::set<std::string> captured;
    for (int attempt = 1; attempt <= 10 && captured.size() < 4; ++attempt) {
        const std::string file = mFolder + "/" + std::to_string(attempt) + "/trace";
        dump(sHang["APP"], true, {"com.example.camera", "/system/bin/mediaserver"}, file);
        EXPECT_THAT(readFile(file), StartsWith("Binder Info:\n")) << "before the call returns";
        eventually([&] { return count(readFile(file), "\n----- end ") == 4; }, 10);
        const Texts lines = masked(linesOf(readFile(file)));
        EXPECT_EQ(chain, Texts(lines.begin(), lines.begin() + 4));
        std::string pids;
        for (const std::string& line : lines) {
            pids += line.rfind("----- pid ", 0) == 0 ? line.substr(10, line.find(" at ") - 9) : "";
            if (line.rfind("----- end ", 0) == 0) {
                captured.insert(line);
            }
        }
        EXPECT_TRUE(std::regex_match(pids, order)) << "each once, in this order: " << pids;
    }
    EXPECT_EQ(4U, captured.size()) << testing::PrintToString(captured);
}

}  // namespace
}  // namespace android::test
