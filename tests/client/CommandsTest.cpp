#include "client/Commands.h"

#include <android-base/file.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace android {
namespace {

using Strings = std::vector<std::string>;
using binder::Status;
using testing::AllOf;
using testing::HasSubstr;

/** Answers what a test sets, without a driver; methods that aren't here fail. */
struct FakeService : zevo::stallscope::IStallscopeDefault {
    Status getTransaction(int32_t, Strings* lines, Strings*, Strings* nativePids, Strings*,
                          Strings* receiverCmdlines, Strings* elapsedTexts, Strings* senderPids,
                          Strings* receiverPids, bool* blocked) override {
        *nativePids = {"2147483647"};
        *senderPids = {"1", "20", "30", "1"};
        *receiverPids = {"20", "30", "20", "40"};
        *receiverCmdlines = {"media", "hw", "media", "other\x1b"};
        *elapsedTexts = {"3.009000", "2.500000", "1.000000", "0.000000"};
        return checkTransaction(0, 0, lines, nullptr, blocked);
    }
    Status checkTransaction(int32_t, int32_t, Strings* lines, Strings*, bool* blocked) override {
        *lines = mLines;
        *blocked = mResult;
        return Status::ok();
    }
    Status getFdSize(int32_t, int32_t* entries) override {
        *entries = mResult ? 5 : -1;
        return Status::ok();
    }
    Status catchFdInfo(const std::string& file, int32_t) override {
        if (!mText.empty()) {
            std::ofstream(file) << mText;
        }
        return Status::ok();
    }
    Status dumpTraceForPidWithTimeout(int32_t, int32_t, const std::string& file,
                                      bool* captured) override {
        *captured = mResult;
        return catchFdInfo(file, 0);
    }
    Status dumpTraceForPidList(const std::vector<int32_t>&, const std::string&,
                               const std::string& file) override {
        return catchFdInfo(file, 0);
    }
    Status dumpTraceForPidListAsync(const std::vector<int32_t>&, const std::string&,
                                    const std::string&) override {
        return Status::ok();
    }
    Status dumpTraceWithBinderInfo(int32_t, bool, const std::vector<String16>&,
                                   const String16& file) override {
        return catchFdInfo(String8(file).string(), 0);
    }

    Strings mLines;
    bool mResult = false;
    std::string mText;
};

class CommandsTest : public testing::Test {
  protected:
    CommandsTest() {
        mArguments.pid = 1;
        mArguments.subject = "subject";
        mArguments.file = std::string(mDirectory.path) + "/file";
    }

    Result ask(const char* command) {
        mReport = Report();
        return findCommand(command)->run(request());
    }
    Request request() { return {*mService, mArguments, FileState::of(mArguments.file), &mReport}; }

    const TemporaryDir mDirectory;
    const sp<FakeService> mService = new FakeService;
    Arguments mArguments;
    Report mReport;
};

TEST_F(CommandsTest, TheVerdictIsTheExitStatusBelowTheReport) {
    const std::tuple<Strings, bool, ExitStatus, const char*> cases[] = {
            {{"a line"}, true, kBlocked, "Verdict: blocked: "},
            {{"a line"}, false, kAnswered, "Verdict: not blocked: "},
            // Where the log could not be read, the daemon leaves its result as it was.
            {{}, true, kAnswered, "Parser file failed"},
    };
    for (const auto& [lines, blocked, status, text] : cases) {
        mService->mLines = lines;
        mService->mResult = blocked;
        for (const char* command : {"check", "transaction"}) {
            EXPECT_EQ(status, ask(command).status) << command;
            EXPECT_THAT(mReport.json(),
                        HasSubstr(status ? "\"blocked\":true" : "\"blocked\":false"));
            EXPECT_THAT(mReport.text(), HasSubstr(text));
        }
    }
    // Who called whom; lines that stand as they are; processes.
    mService->mLines = {"a line"};
    (void)ask("transaction");
    EXPECT_THAT(mReport.text(),
                AllOf(HasSubstr("\n   -> 20 (media)  3.00 s\n"
                                "      -> 30 (hw)  2.50 s\n"
                                "         -> 20 (media)  1.00 s\n"
                                "   -> 40 (other\\x1b)  0.00 s\n"),
                      HasSubstr("Report lines:\na line\n"), HasSubstr("Java processes:\n  none\n"),
                      HasSubstr("Native processes:\n  2147483647 (gone)\n")));
}

TEST_F(CommandsTest, ACallThatDidNothingIsAFailureThoughItsStatusIsGood) {
    const std::tuple<const char*, const char*, bool, ExitStatus> cases[] = {
            {"fds", "", true, kAnswered},
            {"fds", "", false, kFailed},
            {"list-fds", "", true, kFailed},
            {"list-fds", "fds\n", true, kAnswered},
            {"dump", "", true, kFailed},
            {"dump", "part\n", false, kFailed},
            {"dump", "stacks\n", true, kAnswered},
            {"dump-list", "subject\n", true, kFailed},
            {"dump-list", "subject\nstacks\n", true, kAnswered},
            {"dump-binder", "", true, kFailed},
            {"dump-binder", "info\n", true, kAnswered},
            {"incoming", "", true, kFailed},  // the call does not get through
    };
    for (const auto& [command, text, worked, status] : cases) {
        unlink(mArguments.file.c_str());
        mService->mText = text;
        mService->mResult = worked;
        EXPECT_EQ(status, ask(command).status) << command << " " << text;
    }
    // Rewriting with the same text is seen.
    mService->mText = "stacks\n";
    for (int i = 0; i < 2; i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(ask("dump").failed());
    }
    EXPECT_FALSE(ask("fds").failed());
    EXPECT_THAT(mReport.json(), HasSubstr("\"entries\":5,\"openDescriptors\":3"));
    EXPECT_THAT(callFailed(Status::fromStatusT(DEAD_OBJECT)).error, HasSubstr("daemon ended"));
}

TEST_F(CommandsTest, ABackgroundJobIsJudgedOnlyWhenWaitedFor) {
    mArguments.async = true;
    EXPECT_FALSE(ask("dump-list").failed());
    EXPECT_THAT(mReport.json(), HasSubstr("\"started\":true"));
    EXPECT_THAT(mReport.text(), HasSubstr("leave out --async"));
    mArguments.waitSecs = 1;
    const Request before = request();
    EXPECT_EQ(kFailed, followFile(before).status);
    std::ofstream(mArguments.file) << "stacks";
    EXPECT_FALSE(followFile(before).failed());
    EXPECT_THAT(mReport.json(), HasSubstr("\"size\":6,\"quiet\":false"));
}

TEST_F(CommandsTest, FileIsMadeAbsoluteForADaemonWithAWorkingDirectoryOfItsOwn) {
    mArguments.file = "no/file";
    mArguments.force = true;
    EXPECT_FALSE(checkArguments(*findCommand("dump"), &mArguments).failed());
    EXPECT_EQ(std::filesystem::current_path() / "no/file", mArguments.file);
}

TEST(ProcessTest, AThreadIsNoProcess) {
    Result ofThread;
    std::thread([&] { ofThread = checkProcess(gettid()); }).join();
    EXPECT_EQ(kNoProcess, ofThread.status);
    EXPECT_THAT(ofThread.error, HasSubstr("of process " + std::to_string(getpid())));
}

TEST(WatchdogTest, EndsAHungCallButNotOneThatReturned) {
    const auto end = [] { _exit(kNoService); };
    { Watchdog quick(std::chrono::seconds(60), end); }
    EXPECT_EXIT(
            {
                Watchdog hung(std::chrono::seconds(1), end);
                sleep(10);
            },
            testing::ExitedWithCode(kNoService), "");
}

}  // namespace
}  // namespace android
