// The files that the daemon writes, and captures that take long.

#include <chrono>
#include <future>
#include <regex>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;
using testing::Contains;
using testing::ContainsRegex;
using testing::IsSupersetOf;
using testing::StartsWith;

class DumpsTest : public GuestTest {
  protected:
    DumpsTest() { takeDaemonLog(); }

    // One for each test: a job that finds its folder gone when it prunes ends the daemon.
    const std::string mFolder = std::string("/tmp/dumps/") +
                                testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string mFile = mFolder + "/file";
};

// The first slow process may use up what is left of the 20 seconds.
TEST_F(DumpsTest, ListEndsWithItsTotalBudgetWhileOthersAreAnswered) {
    const StagedHang hang("slow");
    writeFile(mFile, "of a former dump\n");
    const Clock::time_point start = Clock::now();
    std::future<Answer> dump = std::async(std::launch::async, [&] {
        return ask({"dumpTraceForPidList", hang.text("$STOPPED,$SLOW1,$SLOW2,$SLOW3"),
                    "Hang of the camera", mFile});
    });
    EXPECT_TRUE(eventually([&] { return statusOf(hang["SLOW1"], "TracerPid") != "0"; }));
    ask({"getFdSize", "1"});
    EXPECT_EQ(std::future_status::timeout, dump.wait_for(seconds(0)));

    dump.get();
    EXPECT_LE(seconds(19), Clock::now() - start);
    EXPECT_LT(Clock::now() - start, seconds(24));
    EXPECT_THAT(takeDaemonLog(), Contains("E dumpTraceForAllProcess: Total timeout reached, "
                                          "aborting remaining processes"));
    const std::string text = readFile(mFile);
    EXPECT_THAT(text, ContainsRegex(hang.text("^Hang of the camera\n.*----- pid $STOPPED at .*"
                                              "stage::waitForTheEnd.*----- end $STOPPED -----.*"
                                              "----- pid $SLOW1 at ")));
    EXPECT_EQ(count(text, "\n----- pid "), count(text, "\nABI: '" + abiName() + "'\n"));
    EXPECT_EQ(0U, count(text, hang.text("----- pid $SLOW3 at ")));
    EXPECT_EQ("T (stopped)", statusOf(hang["STOPPED"], "State"));
    EXPECT_EQ("0", statusOf(hang["SLOW1"], "TracerPid"));
}

// The first two with time enough: of a job, each peer and each process has a second, which is
// little for an emulated machine.
TEST_F(DumpsTest, JavaProcessesAreCapturedAsJavaOrElseAsNative) {
    const StagedHang hang("jvm-chain");
    writeFile(mFile, "kept\n");
    for (const char* name : {"$JVM", "$APP"}) {
        EXPECT_EQ("true", ask({"dumpTraceForPidWithTimeout", hang.text(name), "20", mFile}).result);
    }
    EXPECT_THAT(
            readFile(mFile),
            ContainsRegex(hang.text("^kept\n\n\n----- pid $JVM at .*Full thread dump OpenJDK.*"
                                    "at StageJvm.callServiceAndWait\\(.*at StageJvm.onTransact\\(.*"
                                    "----- end $JVM -----\n\n\n----- pid $APP at .*"
                                    "stage::callServiceAndWait\\(.*----- end $APP -----")));
    const std::string capturing = "E dumpBacktraceToFileTimeout: ";
    EXPECT_THAT(takeDaemonLog(),
                IsSupersetOf(hang.texts(
                        {capturing + "Java stack dump succeeded for pid $JVM",
                         capturing + "Java stack dump failed for pid $APP, attempting to dump "
                                     "native stack...",
                         capturing + "Native stack dump succeeded for pid $APP"})));

    Texts chain = {"Binder Info:"};
    for (const char* caller : {"APP", "JVM", "MEDIA"}) {
        chain.push_back(namedLines(callsOf(hang[caller], "outgoing")).at(0));
    }
    const std::string job = mFolder + "/job/trace";
    ask({"dumpTraceWithBinderInfo", hang.text("$APP"), "true",
         "com.example.camera,/system/bin/mediaserver", job});
    EXPECT_THAT(readFile(job), StartsWith("Binder Info:\n")) << "before the call returns";
    EXPECT_TRUE(eventually(isDaemonIdle));
    const Texts lines = masked(linesOf(readFile(job)));
    EXPECT_EQ(chain, Texts(lines.begin(), lines.begin() + 4));
    std::string pids;
    for (const std::string& line : lines) {
        pids += line.rfind("----- pid ", 0) == 0 ? line.substr(10, line.find(" at ") - 9) : "";
    }
    const std::regex order(hang.text("($JVM )?$MEDIA $HARDWARE $APP "));
    EXPECT_TRUE(std::regex_match(pids, order)) << "each once, in this order: " << pids;
}

}  // namespace
}  // namespace android::test
