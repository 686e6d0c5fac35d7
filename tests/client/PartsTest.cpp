#include <android-base/file.h>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "client/Files.h"
#include "client/KernelLog.h"
#include "client/Output.h"
#include "client/Service.h"

namespace android {
namespace {

TEST(FilesTest, AFileThatSomebodyWroteIsAnother) {
    const FileState states[] = {
            {}, {true}, {true, 1}, {true, 0, 1}, {true, 0, 0, {1, 0}}, {true, 0, 0, {0, 1}}};
    for (size_t i = 0; i < 36; ++i) {
        EXPECT_EQ(i / 6 == i % 6, states[i / 6] == states[i % 6]) << i;
    }
    const TemporaryFile file;
    const FileState before = FileState::of(file.path);
    usleep(20000);
    std::ofstream(file.path) << "";
    EXPECT_TRUE(before != FileState::of(file.path));
}

TEST(FilesTest, AFileIsDoneAfterThreeSecondsWithoutGrowth) {
    Growth growth({true, 1, 10}, {});
    const std::tuple<int, off_t, bool> looks[] = {{2999, 10, false}, {3001, 20, false},
                                                  {6000, 20, false}, {6001, 20, true},
                                                  {6002, 10, false}, {9002, 10, true}};
    for (const auto& [time, size, over] : looks) {
        const Growth::Time now{std::chrono::milliseconds(time)};
        EXPECT_EQ(over, growth.isOver({true, 1, size}, now)) << time;
    }
}

// The longest line is 10 bytes with its end.
TEST(KernelLogTest, ALogAtMostALineShorterThanItsBufferMayBeCut) {
    const std::pair<size_t, bool> lengths[] = {
            {0, false},    {9, false},    {4085, false}, {4086, true},   {4095, true},
            {4096, false}, {8181, false}, {8182, true},  {12286, false}, {16374, true}};
    const TemporaryFile file;
    for (const auto& [length, isCut] : lengths) {
        std::string log;
        while (log.size() < length) {
            log += log.size() + 10 <= length ? "123456789\n" : "\n";
        }
        EXPECT_EQ(isCut, mayBeCut(log)) << length;
        std::ofstream(file.path) << log;
        Report report;
        noteCutLog(file.path, &report);
        const std::string note = "the kernel's log is " + std::to_string(length) + " bytes long";
        EXPECT_EQ(isCut, report.text().find(note) != std::string::npos);
        EXPECT_EQ(report.json(), isCut ? "{\"logMayBeCut\":true}\n" : "{}\n");
    }
    EXPECT_TRUE(mayBeCut(std::string(4090, 'x')));
    Report report;
    noteCutLog("/missing", &report);
    EXPECT_EQ("", report.text());
}

TEST(FilesTest, AThreadIsNoProcess) {
    Result ofThread;
    std::thread([&] {
        // A name that looks like the line which tells threads from processes.
        prctl(PR_SET_NAME, "a\nTgid:\t1");
        ofThread = checkProcess(gettid());
    }).join();
    EXPECT_EQ(kNoProcess, ofThread.status);
    EXPECT_THAT(ofThread.error, testing::HasSubstr(" of process " + std::to_string(getpid())));
}

TEST(FilesTest, AProcessIsNamedByItsProgramOrElseItsThread) {
    EXPECT_THAT(processName(getpid()), testing::EndsWith("/client_test"));
    const pid_t zombie = fork();
    if (zombie == 0) {
        _exit(0);
    }
    siginfo_t info;
    waitid(P_PID, zombie, &info, WEXITED | WNOWAIT);
    EXPECT_EQ("[client_test]", processName(zombie));
    waitpid(zombie, nullptr, 0);
}

struct DeadBinder : BBinder {
    status_t pingBinder() override { return DEAD_OBJECT; }
};

TEST(ServiceTest, AServiceThatEndsWhenItIsFoundIsLookedUpAgain) {
    const sp<IBinder> binders[] = {new DeadBinder, new BBinder, nullptr};
    size_t asked = 0;
    const auto lookUp = [&](const String16& name) {
        EXPECT_STREQ("StallScopeService", String8(name).c_str());
        return binders[asked++];
    };
    std::atomic<const char*> obstacle = "";
    sp<IStallscope> service;
    EXPECT_FALSE(awaitService(lookUp, &obstacle, &service).failed());
    EXPECT_EQ(binders[1], IInterface::asBinder(service));
    EXPECT_THAT(obstacle.load(), testing::StartsWith("\"StallScopeService\" is registered, but"));
    const Result denied = awaitService(lookUp, &obstacle, &service);
    EXPECT_EQ(kNoService, denied.status);
    EXPECT_EQ("the service manager denies access to \"StallScopeService\"", denied.error);
    EXPECT_THAT(obstacle.load(), testing::StartsWith("\"StallScopeService\" is not registered"));
}

TEST(OutputTest, NoNameBreaksTheJsonOrSteersTheTerminal) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
            {"a\"b\\c/", "a\"b\\c/", R"(a\"b\\c/)"},
            {std::string("\0\n\x1f ~", 5), "\\x00\\x0a\\x1f ~", R"(\u0000\n\u001f ~)"},
            {"\x7f\u009f\u00a0", "\\x7f\\x9f\u00a0", "\x7f\\u009f\\u00a0"},
            {"\ud7ff\ue000\U0001f642", "\ud7ff\ue000\U0001f642", R"(\ud7ff\ue000\ud83d\ude42)"},
            {"a\xFF\x82z\xE2\x82", "a\ufffd\ufffdz\ufffd\ufffd", R"(a\ufffd\ufffdz\ufffd\ufffd)"},
            {"\xED\xA0\x80\xC0", "\ufffd\ufffd\ufffd\ufffd", R"(\ufffd\ufffd\ufffd\ufffd)"},
            {"\xED\xBF\xBF\xED", "\ufffd\ufffd\ufffd\ufffd", R"(\ufffd\ufffd\ufffd\ufffd)"},
            {"\xF4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd", R"(\ufffd\ufffd\ufffd\ufffd)"},
    };
    for (const auto& [text, shown, json] : cases) {
        Report report;
        report.string("s", text);
        report.list("l", {text, ""});
        report.say("<\n>", {text});
        EXPECT_EQ("{\"s\":\"" + json + "\",\"l\":[\"" + json + "\",\"\"]}\n", report.json());
        EXPECT_EQ("<\\x0a>\n" + shown + "\n\n", report.text());
        EXPECT_EQ(shown.find("\ufffd") == std::string::npos, isUtf8(text)) << shown;
    }
}

}  // namespace
}  // namespace android
