// Captures of processes that are slow, or part of a hang with a JVM.

#include <algorithm>
#include <chrono>
#include <future>
#include <regex>

#include "tests/guest/DumpsFixture.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

const std::string kDone = "E dumpTraceForAllProcess: Dump trace for all processes done";

// Processes that can't be captured at once, or not at all.
class SlowTest : public DumpsTest {
  protected:
    static void SetUpTestSuite() { sHang = StagedHang("slow"); }

    static bool isBeingCaptured(pid_t pid) { return statusOf(pid, "TracerPid") != "0"; }

    static StagedHang sHang;
};
StagedHang SlowTest::sHang;

TEST_F(SlowTest, TargetInUninterruptibleSleepFailsWithinItsBudget) {
    Clock::time_point start = Clock::now();
    EXPECT_FALSE(capture(sHang["SLOW1"], 2, mFile));
    EXPECT_LT(Clock::now() - start, seconds(4));
    EXPECT_FALSE(isBeingCaptured(sHang["SLOW1"]));
    const Texts log = takeDaemonLog();
    EXPECT_EQ(sHang.texts({"I dumpBacktraceToFileTimeout: Dumping trace for pid $SLOW1 to " +
                                   mFile + " with timeout 2 seconds, adj = -1000, processType = 1",
                           log.at(1),
                           "E dumpBacktraceToFileTimeout: Native stack dump failed for pid "
                           "$SLOW1"}),
              log);
    EXPECT_EQ(0U, log[1].find(sHang.text(
                          "E dumpTraces: Failed to dump backtrace for pid: $SLOW1, result ")));
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
    EXPECT_LT(2, size);
    EXPECT_EQ(std::future_status::timeout, dump.wait_for(seconds(0)));

    EXPECT_TRUE(dump.get());
    EXPECT_LE(seconds(19), Clock::now() - start);
    EXPECT_LT(Clock::now() - start, seconds(24));
    const Texts log = takeDaemonLog();
    EXPECT_EQ(sHang.text("I dumpBacktraceToFileTimeout: Dumping trace for pid $STOPPED to " +
                         mFile + " with timeout 20 seconds, adj = -1000, processType = 1"),
              log.at(0));
    EXPECT_EQ(sHang.text("E dumpBacktraceToFileTimeout: Native stack dump succeeded for pid "
                         "$STOPPED"),
              log.at(1));
    EXPECT_EQ(
            (Texts{"E dumpTraceForAllProcess: Total timeout reached, aborting remaining processes",
                   kDone}),
            Texts(log.end() - 2, log.end()));
    const std::string text = readFile(mFile);
    EXPECT_EQ(0U, text.find("Hang of the camera\n"));
    expectInOrder(text, sHang.texts({"----- pid $STOPPED at ", "(stage::waitForTheEnd()",
                                     "----- end $STOPPED -----", "----- pid $SLOW1 at "}));
    EXPECT_EQ(0U, count(text, sHang.text("----- pid $SLOW3 at ")));
    EXPECT_EQ("T (stopped)", statusOf(sHang["STOPPED"], "State"));
}

TEST_F(SlowTest, AsynchronousListReturnsBeforeItsFirstCapture) {
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync({sHang["SLOW1"]}, "slow", mFile).isOk());
    EXPECT_TRUE(eventually([] { return isBeingCaptured(sHang["SLOW1"]); }));
    EXPECT_FALSE(contains(takeDaemonLog(), kDone));

    const std::string second = mFolder + "/second";
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync({sHang["STOPPED"]}, "", second).isOk());
    EXPECT_TRUE(eventually([] { return contains(takeDaemonLog(), kDone); }));
    EXPECT_EQ(0U, readFile(second).find(sHang.text("\n\n\n----- pid $STOPPED at ")))
            << "the empty subject comes first";
    EXPECT_TRUE(isBeingCaptured(sHang["SLOW1"]));
}

TEST_F(SlowTest, TargetRunsOnWhenTheDaemonIsKilledDuringItsCapture) {
    pid_t crowd = sHang["CROWD"];
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync({crowd}, "killed", mFile).isOk());
    EXPECT_TRUE(eventually([&] { return isBeingCaptured(crowd); }));
    killDaemon();
    EXPECT_EQ(0U, count(readFile(mFile), "----- end ")) << "the capture was through already";
    EXPECT_TRUE(eventually([&] {
        fs::directory_iterator tasks("/proc/" + std::to_string(crowd) + "/task");
        return std::all_of(begin(tasks), end(tasks), [](const fs::directory_entry& task) {
            pid_t tid = std::stoi(task.path().filename());
            return !isBeingCaptured(tid) && statusOf(tid, "State") == "S (sleeping)";
        });
    }));
}

// A hang with a JVM among the peers.
class JvmTest : public DumpsTest {
  protected:
    static void SetUpTestSuite() { sHang = StagedHang("jvm-chain"); }

    // What the job about the app has written at its end, which shows when it prunes.
    std::string dumpAndWait(const std::string& file, const Texts& names) {
        const fs::path folder = fs::path(file).parent_path();
        fs::create_directories(folder);
        for (int i = 1; i <= 5; ++i) {
            writeFile(folder / std::to_string(i), "");
            fs::last_write_time(folder / std::to_string(i),
                                fs::file_time_type::clock::now() - std::chrono::hours(i));
        }
        dump(sHang["APP"], true, names, file);
        EXPECT_EQ(0U, readFile(file).find("Binder Info:\n")) << "before the call returns";
        EXPECT_TRUE(eventually([&] { return !fs::exists(folder / "5"); }));
        return readFile(file);
    }

    static StagedHang sHang;
};
StagedHang JvmTest::sHang;

TEST_F(JvmTest, JavaProcessIsCapturedAsJavaOrElseAsNative) {
    writeFile(mFile, "kept\n");
    EXPECT_TRUE(capture(sHang["JVM"], 20, mFile));
    EXPECT_TRUE(capture(sHang["APP"], 20, mFile));
    expectInOrder(readFile(mFile),
                  sHang.texts({"kept\n\n\n----- pid $JVM at ", "Full thread dump OpenJDK",
                               "at StageJvm.callServiceAndWait(", "at StageJvm.onTransact(",
                               "----- end $JVM -----\n\n\n----- pid $APP at ",
                               "(stage::callServiceAndWait(", "----- end $APP -----"}));
    const std::string capturing = "dumpBacktraceToFileTimeout: ";
    const std::string budget =
            " to " + mFile + " with timeout 20 seconds, adj = 0, processType = 3";
    const Texts log = takeDaemonLog();
    EXPECT_EQ(sHang.texts({"I " + capturing + "Dumping trace for pid $JVM" + budget,
                           "E " + capturing + "Java stack dump succeeded for pid $JVM",
                           "I " + capturing + "Dumping trace for pid $APP" + budget, log.at(3),
                           "E " + capturing +
                                   "Java stack dump failed for pid $APP, attempting to "
                                   "dump native stack...",
                           "E " + capturing + "Native stack dump succeeded for pid $APP"}),
              log);
    EXPECT_EQ(0U, log[3].find(sHang.text(
                          "E dumpTraces: Failed to dump backtrace for pid: $APP, result ")));
}

// A process has a second for its capture, which is little for a busy emulated machine: hence
// several attempts, until each stack has been there.
TEST_F(JvmTest, DumpHasTheChainThenTheStacksOfPeersAndOfProcessesNamedExactly) {
    pid_t viewer = startInBackground(
            "\"$STALLSCOPE_STAGE_BIN/stage_process\" "
            "--cmdline com.example.camera.viewer");
    EXPECT_TRUE(eventually([&] { return cmdlineOf(viewer) == "com.example.camera.viewer"; }));
    sHang.pids["SLEEPER"] = startInBackground("sleep 20000");
    Texts chain = {"Binder Info:"};
    for (const char* caller : {"APP", "JVM", "MEDIA"}) {
        chain.push_back(
                namedLines("outgoing transaction", callsOf(sHang[caller], "outgoing")).at(0));
    }
    const std::regex order(sHang.text("($JVM )?($MEDIA )?($HARDWARE )?($APP )?($SLEEPER )?"));
    std::map<std::string, std::string> frames = {
            {"$JVM", "at StageJvm.callServiceAndWait("},
            {"$MEDIA", "(stage::callServiceAndWait("},
            {"$HARDWARE", "(stage::waitForSensorThatNeverAnswers("},
            {"$APP", "(stage::callServiceAndWait("},
            {"$SLEEPER", "(clock_nanosleep"}};
    for (int attempt = 1; attempt <= 10 && !frames.empty(); ++attempt) {
        const std::string file = mFolder + "/" + std::to_string(attempt) + "/trace";
        std::string pids;
        const std::string text =
                dumpAndWait(file, {"com.example.camera", "/system/bin/mediaserver", "sleep20000"});
        Texts lines = masked(linesOf(text));
        EXPECT_EQ(chain, Texts(lines.begin(), lines.begin() + 4));
        for (const std::string& line : lines) {
            pids += line.rfind("----- pid ", 0) == 0 ? line.substr(10, line.find(" at ") - 9) : "";
        }
        EXPECT_TRUE(std::regex_match(pids, order)) << "each once, in this order: " << pids;
        for (auto it = frames.begin(); it != frames.end();) {
            size_t begin = text.find(sHang.text("----- pid " + it->first + " at "));
            size_t end = text.find(sHang.text("----- end " + it->first + " -----"));
            it = text.find(it->second, begin) < end ? frames.erase(it) : std::next(it);
        }
    }
    EXPECT_EQ((std::map<std::string, std::string>{}), frames) << "stacks that were never there";
}

}  // namespace
}  // namespace android::test
