#include "client/Commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace android {
namespace {

using Strings = std::vector<std::string>;
using binder::Status;

/** Answers what a test sets, without a driver; methods that aren't here fail. */
class FakeService : public zevo::stallscope::IStallscopeDefault {
  public:
    Status getTransaction(int32_t, Strings* lines, Strings*, Strings* nativePids, Strings*,
                          Strings* receiverCmdlines, Strings* elapsedTexts, Strings* senderPids,
                          Strings* receiverPids, bool* result) override {
        *lines = mLines;
        *nativePids = {"2147483647"};
        *senderPids = {"1", "20", "30", "1"};
        *receiverPids = {"20", "30", "20", "40"};
        *receiverCmdlines = {"media", "hw", "media", "other\x1b"};
        *elapsedTexts = {"3.009000", "2.500000", "1.000000", "0.000000"};
        *result = mResult;
        return Status::ok();
    }

    Status checkTransaction(int32_t, int32_t, Strings* lines, Strings*, bool* result) override {
        *lines = mLines;
        *result = mResult;
        return Status::ok();
    }

    Status getFdSize(int32_t, int32_t* result) override {
        *result = mEntries;
        return Status::ok();
    }

    Status catchFdInfo(const std::string& file, int32_t) override { return write(file); }

    Status dumpTraceForPidWithTimeout(int32_t, int32_t, const std::string& file,
                                      bool* result) override {
        *result = mResult;
        return write(file);
    }

    Status dumpTraceForPidList(const std::vector<int32_t>&, const std::string&,
                               const std::string& file) override {
        return write(file);
    }

    Status dumpTraceForPidListAsync(const std::vector<int32_t>&, const std::string&,
                                    const std::string&) override {
        return Status::ok();
    }

    Status dumpTraceWithBinderInfo(int32_t, bool, const std::vector<String16>&,
                                   const String16& file) override {
        return write(String8(file).string());
    }

    Strings mLines;
    bool mResult = false;
    int32_t mEntries = -1;
    std::string mText;

  private:
    Status write(const std::string& file) const {
        if (!mText.empty()) {
            std::ofstream(file) << mText;
        }
        return Status::ok();
    }
};

class CommandsTest : public testing::Test {
  protected:
    CommandsTest() {
        mArguments.pid = 1;
        mArguments.subject = "subject";
        mArguments.file = "/tmp/client_commands_test." + std::to_string(getpid());
    }
    ~CommandsTest() override { unlink(mArguments.file.c_str()); }

    Result ask(const char* command) {
        mReport = Report();
        return findCommand(command)->run(request());
    }

    Request request() { return {*mService, mArguments, FileState::of(mArguments.file), &mReport}; }

    bool jsonHas(const char* text) { return mReport.json().find(text) != std::string::npos; }
    bool textHas(const char* text) { return mReport.text().find(text) != std::string::npos; }

    const sp<FakeService> mService = new FakeService;
    Arguments mArguments;
    Report mReport;
};

TEST_F(CommandsTest, TheVerdictIsTheExitStatusButNeverWithoutACall) {
    const struct {
        Strings lines;
        bool result;
        ExitStatus status;
        const char* json;
        const char* text;
    } kCases[] = {
            {{"a line"}, true, kBlocked, "\"blocked\":true", "Verdict: blocked: "},
            {{"a line"}, false, kAnswered, "\"blocked\":false", "Verdict: not blocked: "},
            // Where the log could not be read, the daemon leaves its result as it was.
            {{}, true, kAnswered, "\"blocked\":false", "Parser file failed"},
    };
    for (const auto& c : kCases) {
        mService->mLines = c.lines;
        mService->mResult = c.result;
        for (const char* command : {"transaction", "check"}) {
            EXPECT_EQ(c.status, ask(command).status) << command;
            EXPECT_TRUE(jsonHas(c.json)) << mReport.json();
            EXPECT_TRUE(textHas(c.text)) << mReport.text();
        }
    }
}

TEST_F(CommandsTest, TheChainShowsWhoCalledWhomAndTheReportLinesStandAsTheyAre) {
    mService->mLines = {"outgoing transaction from 1(a b):1(c) to 20(media):0(unknown)"};
    (void)ask("transaction");
    EXPECT_TRUE(
            textHas("\n   -> 20 (media)  3.00 s\n"
                    "      -> 30 (hw)  2.50 s\n"
                    "         -> 20 (media)  1.00 s\n"
                    "   -> 40 (other\\x1b)  0.00 s\n"))
            << mReport.text();
    EXPECT_TRUE(textHas(("Report lines:\n" + mService->mLines[0] + "\n").c_str()));
    EXPECT_TRUE(textHas("Java processes:\n  none\n"));
    EXPECT_TRUE(textHas("Native processes:\n  2147483647 (gone)\n"));
}

TEST_F(CommandsTest, DescriptorsAreCountedWithoutTheDirectoryEntries) {
    mService->mEntries = 5;
    EXPECT_FALSE(ask("fds").failed());
    EXPECT_TRUE(jsonHas("\"entries\":5,\"openDescriptors\":3"));
    mService->mEntries = -1;
    EXPECT_EQ(kFailed, ask("fds").status);
    mArguments.pid = 2147483647;
    EXPECT_EQ(kNoProcess, ask("fds").status);
}

TEST_F(CommandsTest, ACallThatWroteNothingIsAFailureThoughItsStatusIsGood) {
    const struct {
        const char* command;
        const char* text;
        bool result;
        ExitStatus status;
    } kCases[] = {
            {"list-fds", "", true, kFailed},
            {"list-fds", "fds\n", true, kAnswered},
            {"dump", "", true, kFailed},
            {"dump", "part\n", false, kFailed},
            {"dump", "stacks\n", true, kAnswered},
            {"dump-list", "", true, kFailed},
            {"dump-list", "subject\n", true, kFailed},
            {"dump-list", "subject\nstacks\n", true, kAnswered},
            {"dump-binder", "", true, kFailed},
            {"dump-binder", "info\n", true, kAnswered},
    };
    for (const auto& c : kCases) {
        unlink(mArguments.file.c_str());
        mService->mText = c.text;
        mService->mResult = c.result;
        const Result result = ask(c.command);
        EXPECT_EQ(c.status, result.status) << c.command << " " << c.text << result.error;
        EXPECT_EQ(c.status == kFailed, result.failed());
    }
}

TEST_F(CommandsTest, ABackgroundJobIsJudgedOnlyWhenWaitedFor) {
    mArguments.async = true;
    EXPECT_FALSE(ask("dump-list").failed());
    EXPECT_TRUE(jsonHas("\"started\":true"));
    EXPECT_TRUE(textHas("leave out --async"));
    mArguments.waitSecs = 1;
    const Request before = request();
    EXPECT_EQ(kFailed, followFile(before).status);
    std::ofstream(mArguments.file) << "stacks";
    EXPECT_FALSE(followFile(before).failed());
    EXPECT_TRUE(jsonHas("\"size\":6,\"quiet\":false"));
}

TEST_F(CommandsTest, ACallThatDoesNotGetThroughFails) {
    const Result result = ask("incoming");
    EXPECT_EQ(kFailed, result.status);
    EXPECT_NE(std::string::npos, result.error.find("the call failed"));
    EXPECT_NE(std::string::npos,
              callFailed(Status::fromStatusT(DEAD_OBJECT)).error.find("ended during the call"));
}

TEST_F(CommandsTest, ForceLeavesTheJudgementToTheDaemon) {
    mArguments.pid = 2147483647;
    mArguments.file = "/no/such/directory/file";
    const Command& dump = *findCommand("dump");
    EXPECT_EQ(kNoProcess, checkArguments(dump, &mArguments).status);
    mArguments.force = true;
    EXPECT_FALSE(checkArguments(dump, &mArguments).failed());
}

TEST(WatchdogTest, EndsAHungCallButNotOneThatReturned) {
    const auto end = [] { _exit(kNoService); };
    EXPECT_EXIT(
            {
                { Watchdog quick(std::chrono::seconds(60), end); }
                _exit(kAnswered);
            },
            testing::ExitedWithCode(kAnswered), "");
    EXPECT_EXIT(
            {
                Watchdog hung(std::chrono::seconds(1), end);
                pause();
            },
            testing::ExitedWithCode(kNoService), "");
}

}  // namespace
}  // namespace android
