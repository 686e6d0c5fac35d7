#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>

#include "client/Commands.h"

namespace android {
namespace {

std::string output(const std::string& shellCommand, int* status = nullptr) {
    std::string text;
    FILE* pipe = popen(shellCommand.c_str(), "r");
    for (int c; (c = fgetc(pipe)) != EOF;) {
        text += static_cast<char>(c);
    }
    const int waited = pclose(pipe);
    if (status != nullptr) {
        *status = WIFEXITED(waited) ? WEXITSTATUS(waited) : -1;
    }
    return text;
}

std::set<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/** What bash offers after the words given, the last of which is unfinished. */
std::set<std::string> completions(const std::string& words, int place) {
    return wordsOf(output("bash -c 'source " CLIENT_DIR
                          "/stallscopectl.bash-completion; COMP_WORDS=(stallscopectl " +
                          words + "); COMP_CWORD=" + std::to_string(place) +
                          "; _stallscopectl; echo \"${COMPREPLY[@]}\"'"));
}

std::string manPage() {
    std::ifstream stream(CLIENT_DIR "/stallscopectl.1");
    std::string text(std::istreambuf_iterator<char>(stream), {});
    for (size_t at; (at = text.find("\\-")) != std::string::npos;) {
        text.erase(at, 1);
    }
    return text;
}

/** The part of the manual page under heading, up to the next heading of its kind or above. */
std::string section(const std::string& page, const std::string& heading) {
    const size_t begin = page.find("\n" + heading + "\n");
    if (begin == std::string::npos) {
        return "";
    }
    return page.substr(begin, page.find("\n.S", begin + 1) - begin);
}

TEST(ProgramTest, HelpManualPageAndCompletionKnowTheSameCommandsAndOptions) {
    const std::string page = manPage();
    const std::string help = output(STALLSCOPECTL " --help");
    const std::string common = section(page, ".SH OPTIONS");
    std::set<std::string> names{"--help"};
    for (const Command& command : commands()) {
        names.insert(command.name);
        const std::string usage = std::string(command.name) + " " + command.syntax.operands;
        EXPECT_NE(std::string::npos, help.find("  " + usage + "\n"));
        const std::string own = section(page, ".SS " + usage);
        EXPECT_NE(std::string::npos, own.find(command.sentence)) << usage;
        const std::string ownHelp = output(STALLSCOPECTL " " + std::string(command.name) + " -h");
        std::set<std::string> options;
        for (const Option* option : optionsOf(command.syntax)) {
            options.insert(option->name);
            EXPECT_NE(std::string::npos, (own + common).find(option->name)) << usage;
            EXPECT_NE(std::string::npos, ownHelp.find("  " + spellOption(*option) + " "));
        }
        EXPECT_EQ(options, completions(std::string(command.name) + " --", 2)) << usage;
    }
    EXPECT_EQ(names, completions("\"\"", 1));
}

TEST(ProgramTest, CompletionOffersPidsAndFilesWhereTheyBelong) {
    const std::string self = std::to_string(getpid());
    const std::set<std::string> none;
    const std::set<std::string> pid{self};
    const std::set<std::string> file{CLIENT_DIR "/main.cpp"};
    const std::string path = CLIENT_DIR "/main.c";
    EXPECT_EQ(1U, completions("fds " + self, 2).count(self));
    EXPECT_EQ(none, completions("fds 1 " + self, 3));
    EXPECT_EQ(file, completions("list-fds " + path, 2));
    EXPECT_EQ(file, completions("dump --timeout 3 1 " + path, 5));
    EXPECT_EQ(none, completions("dump --timeout 1", 3));
    EXPECT_EQ(1U, completions("dump-list out subject 1 2 " + self, 6).count(self));
}

TEST(ProgramTest, EveryErrorHasItsStatusAndComesAsJsonToo) {
    const bool haveBinder = access("/dev/binder", F_OK) == 0;
    const struct {
        const char* arguments;
        int status;
        const char* error;
        bool withBinder;
    } kCases[] = {
            {"", kUsage, "no command given", true},
            {"nonsense", kUsage, "unknown command nonsense", true},
            {"transaction", kUsage, "PID is missing; see stallscopectl transaction --help", true},
            {"dump $$ /", kUsage, "is a directory", true},
            {"fds 2147483647", kNoProcess, "no such process: PID 2147483647", true},
            {"fds 2147483647 --force", kNoService, "cannot open /dev/binder", false},
            {"transaction $$", kNoService, "cannot open /dev/binder", false},
    };
    for (const auto& c : kCases) {
        if (haveBinder && !c.withBinder) {
            continue;
        }
        int status = -1;
        const std::string call = STALLSCOPECTL " " + std::string(c.arguments);
        const std::string text = output(call + " 2>&1", &status);
        EXPECT_EQ(c.status, status) << c.arguments;
        EXPECT_EQ(0U, text.find("stallscopectl: ")) << text;
        EXPECT_NE(std::string::npos, text.find(c.error)) << text;
        if (*c.arguments != '\0') {
            const std::string json = output(call + " --json 2>/dev/null");
            EXPECT_EQ(0U, json.find("{\"error\":\"")) << json;
            EXPECT_NE(std::string::npos, json.find(",\"exitStatus\":" + std::to_string(c.status)));
        }
    }
    int status = 0;
    (void)output(STALLSCOPECTL " --help 2>/dev/null >/dev/full", &status);
    EXPECT_EQ(kFailed, status);
}

}  // namespace
}  // namespace android
