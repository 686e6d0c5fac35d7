#include "client/Program.h"

#include <android-base/file.h>
#include <android-base/strings.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "tests/support/TestSupport.h"

namespace android {

void PrintTo(const String16& text, std::ostream* out) {
    *out << '"' << String8(text).c_str() << '"';
}

namespace {

using binder::Status;
using Pids = std::vector<int>;
using Text = std::string;
using Texts = std::vector<std::string>;

// What the fake answers goes by the pid; no kernel gives any as high as these.
constexpr int kUnread = 5000000;   // true, with lists
constexpr int kYes = 5000001;      // true, with lists and files
constexpr int kNo = 5000002;       // false, with lists
constexpr int kNothing = 5000003;  // as after a failure: true, but nothing else
constexpr int kRefused = 5000004;
constexpr int kDies = 5000005;
constexpr int kHangs = 5000006;

// Answers without a driver, and keeps the last call with all that went in.
struct FakeService : zevo::stallscope::IStallscopeDefault {
    Status dumpTraceWithBinderInfo(int pid, bool info, const std::vector<String16>& names,
                                   const String16& file) override {
        std::ofstream(pid == kYes ? String8(file).string() : "/dev/null") << "stacks";
        return called(__func__, pid, info, names, file);
    }
    Status getTransaction(int pid, Texts* lines, Texts* java, Texts* native, Texts* fromNames,
                          Texts* toNames, Texts* elapsed, Texts* from, Texts* to,
                          bool* blocked) override {
        *fromNames = {"app", "media", "hw", "app"};
        *toNames = {"media", "hw", "media", "other\x1b", "more"};
        *elapsed = {"3.009000", "2.500000", "1.000000", "0.000000"};
        *from = {std::to_string(pid), "20", "30", "99", "20"};
        *to = {"20", "30", "20", "40", "50"};
        *blocked = fill(pid, lines, java, native);
        return called(__func__, pid);
    }
    Status getAsyncTransaction(int from, int pid, Texts* lines, Texts* java, Texts* native,
                               bool* blocked) override {
        *blocked = fill(from, lines, java, native);
        return called(__func__, from, pid);
    }
    Status getThreadFullInfo(int pid, Texts* lines, Texts* java, Texts* native) override {
        (void)fill(pid, lines, java, native);
        return called(__func__, pid);
    }
    Status printfProcBinderInfo(int pid, const Text& tag) override {
        return called(__func__, pid, tag);
    }
    Status checkTransaction(int pid, int secs, Texts* lines, Texts* pids, bool* blocked) override {
        *blocked = fill(pid, lines, pids, pids);
        return called(__func__, pid, secs);
    }
    Status getTransactProc(int pid, const Text& tag, Texts* pids, Texts* names,
                           Texts* lines) override {
        (void)fill(pid, lines, pids, names);
        return called(__func__, pid, tag);
    }
    Status getFdSize(int pid, int* entries) override {
        *entries = pid == kYes ? 5 : -1;
        return called(__func__, pid);
    }
    Status catchFdInfo(const Text& file, int pid) override {
        std::ofstream(pid == kYes ? file : "/dev/null") << "descriptors";
        return called(__func__, pid, file);
    }
    Status dumpTraceForPidWithTimeout(int pid, int secs, const Text& file, bool* done) override {
        std::ofstream(pid == kYes ? file : "/dev/null") << "stacks";
        *done = pid != kNo;
        return called(__func__, pid, secs, file);
    }
    Status dumpTraceForPidList(const Pids& pids, const Text& subject, const Text& file) override {
        const Text stacks = pids.size() > 1 ? "stacks" : "";
        std::ofstream(pids[0] == kYes ? file : "/dev/null") << subject << "\n" << stacks;
        return called(__func__, pids[0], pids, subject, file);
    }
    Status dumpTraceForPidListAsync(const Pids& pids, const Text& line, const Text& file) override {
        return called(__func__, pids[0], pids, line, file);
    }

    template <typename... Others>
    Status called(const char* method, int pid, const Others&... others) {
        mCall = method + (" " + std::to_string(pid));
        ((mCall += " " + testing::PrintToString(others)), ...);
        sleep(pid == kHangs ? 60 : 0);
        const status_t failure = pid == kDies ? DEAD_OBJECT : PERMISSION_DENIED;
        return pid < kRefused ? Status::ok() : Status::fromStatusT(failure);
    }
    static bool fill(int pid, Texts* lines, Texts* pids, Texts* otherPids) {
        if (pid != kNothing) {
            *otherPids = {"5000030"};
            *pids = {"5000010", "5000020", "5000010"};
            *lines = {"a line", pid == kUnread ? "outgoing from 0(a):0(b) to"
                                : pid == kNo   ? "outgoing from 0 : 0 to"
                                               : "10(a\xff):\x1b\""};
        }
        return pid != kNo;
    }

    Text mCall;
};

// What the program does and says when it is called with line, in the form of answers.txt.
Text answer(const Text& line, const Text& kernelLog = "/missing") {
    std::istringstream stream(line);
    Texts words;
    for (Text word; stream >> std::quoted(word, '\'');) {
        words.push_back(word);
    }
    const sp<FakeService> service = new FakeService;
    const auto find = [&](std::atomic<const char*>*, sp<IStallscope>* found) {
        *found = service;
        return Result();
    };
    Text output;
    const Result result = runProgram({words.begin() + 1, words.end()}, {find, kernelLog}, &output);
    const Text call = service->mCall.empty() ? "" : "> " + service->mCall + "\n";
    const Text error = result.failed() ? "error: " + result.error + "\n" : "";
    const Text all = call + output + error + "exit " + std::to_string(result.status) + "\n";
    return base::StringReplace(all, std::filesystem::current_path().c_str(), "DIR", true);
}

TEST(ProgramTest, EveryCommandLineHasItsAnswer) {
    const TemporaryDir directory;
    std::filesystem::current_path(directory.path);
    std::ifstream file(test::testFile("client/answers.txt"));
    ASSERT_TRUE(file.is_open());
    const time_t start = time(nullptr);
    for (Text line, question, expected; std::getline(file, line);) {
        expected += line + "\n";
        if (line.rfind("$ ", 0) == 0) {
            question = line.substr(2);
            expected = "";
        } else if (line.rfind("exit ", 0) == 0) {
            EXPECT_EQ(expected, answer(question)) << question;
            std::filesystem::remove("out");
        }
    }
    std::filesystem::current_path("/");
    EXPECT_GT(CLOCKS_PER_SEC, clock());  // some answers wait, which is no work
    EXPECT_GT(start + 40, time(nullptr));
}

TEST(ProgramTest, AnswersFromAKernelsLogThatMayBeCutSaySo) {
    const TemporaryFile log;
    std::ofstream(log.path) << std::string(4095, '\n');
    const std::pair<const char*, bool> rows[] = {
            {"transaction 5000001", true},
            {"async 5000001 1", true},
            {"incoming 5000001", true},
            {"print 5000001 tag", true},
            {"check 5000001 1", true},
            {"chain 5000001 tag", true},
            {"fds 5000001", false},
            {"dump-list --async /dev/null subject 1", false},
            {"dump-binder --no-binder-info 1 /dev/null", true}};
    for (const auto& [words, isNoted] : rows) {
        const Text text = answer("stallscopectl --force --json " + Text(words), log.path);
        EXPECT_EQ(isNoted, text.find(",\"logMayBeCut\":true}\n") != Text::npos) << text;
    }
}

TEST(ProgramTest, ALookUpOrACallThatHangsEndsTheProgram) {
    const auto hang = [](std::atomic<const char*>* obstacle, sp<IStallscope>*) {
        *obstacle = "it hangs";
        sleep(60);
        return Result();
    };
    Text output;
    const auto run = [&] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        (void)runProgram({"fds", "1", "--force", "--json"}, {hang}, &output);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(kNoService),
                "stallscopectl: no service within 5 seconds: it hangs\n"
                ".\"error\":\"no service within 5 seconds: it hangs\",\"exitStatus\":3.\n");
    EXPECT_EXIT((void)answer("stallscopectl fds 5000006 --force --wait-reply 1"),
                testing::ExitedWithCode(kNoService),
                "^stallscopectl: no reply within 1 seconds; [^\n]*\n$");
    Arguments arguments;
    arguments.timeoutSecs = 56;
    EXPECT_EQ(61, replyLimit(*findCommand("dump"), arguments).count());
    EXPECT_EQ(60, replyLimit(*findCommand("fds"), arguments).count());
}

}  // namespace
}  // namespace android
