#include "client/Program.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "client/Completion.h"
#include "client/Help.h"
#include "packaging/Version.h"

namespace android {

namespace {

constexpr std::chrono::seconds kLookUpLimit(5);
constexpr char kAnalyze[] = "analyze";
constexpr char kVersionLine[] = "stallscopectl " STALLSCOPE_VERSION "\n";
constexpr char kAnalysis[] = "stallscope-analyze";

[[noreturn]] void giveUp(const std::string& error, bool json) {
    const Result result{kNoService, error};
    leave(result, json ? errorJson(result) : "");
}

Result connect(const Finder& find, bool json, sp<IStallscope>* service) {
    std::atomic<const char*> obstacle = "the binder driver does not answer";
    const Watchdog watchdog(kLookUpLimit, [&] {
        giveUp("no service within " + std::to_string(kLookUpLimit.count()) +
                       " seconds: " + obstacle.load(),
               json);
    });
    return find(&obstacle, service);
}

Result ask(const Command& command, const Request& request) {
    const std::chrono::seconds limit = replyLimit(command, request.arguments);
    const Watchdog watchdog(limit, [&] {
        giveUp("no reply within " + std::to_string(limit.count()) +
                       " seconds; the daemon still works on it or hangs itself",
               request.arguments.json);
    });
    return command.run(request);
}

Result answer(const Command& command, Arguments* arguments, const Sources& sources,
              std::string* output) {
    sp<IStallscope> service;
    Result result = checkArguments(command, arguments);
    if (!result.failed()) {
        result = connect(sources.find, arguments->json, &service);
    }
    if (result.failed()) {
        return result;
    }
    Report report;
    reportQuestion(command, *arguments, &report);
    const Request request{service, *arguments, FileState::of(arguments->file), &report};
    result = ask(command, request);
    if (!result.failed() && command.readsLog == ReadsLog::kYes) {
        noteCutLog(sources.kernelLog, &report);
    }
    if (!result.failed() && arguments->waitSecs > 0) {
        result = followFile(request);
    }
    *output = arguments->json ? report.json() : report.text();
    return result;
}

Result runCommand(const Command& command, const std::vector<Word>& words, const Sources& sources,
                  std::string* output) {
    Arguments arguments;
    Result result = parseArguments(command.syntax, words, &arguments);
    const bool wantsAnswer = !arguments.help && !arguments.version;
    if (!result.failed() && wantsAnswer && command.run == nullptr) {
        result = {kUsage, kAnalyzeComesFirst};
    }
    if (result.failed()) {
        result.error += "; see stallscopectl " + std::string(command.name) + " --help";
        return result;
    }
    if (arguments.help) {
        *output = commandHelp(command);
        return {};
    }
    if (arguments.version) {
        *output = kVersionLine;
        return {};
    }
    return answer(command, &arguments, sources, output);
}

Result runWithoutCommand(const std::vector<Word>& words, std::string* output) {
    Arguments arguments;
    Result result = parseArguments({{}, allOptions()}, words, &arguments);
    if (!result.failed() && arguments.help) {
        *output = overallHelp();
        return {};
    }
    if (!result.failed() && arguments.version) {
        *output = kVersionLine;
        return {};
    }
    const std::string error = result.failed() ? result.error : "no command given";
    return {kUsage, error + "; see stallscopectl --help"};
}

// Becomes the analysis; returns only when that can't be started.
Result handOver(const std::vector<std::string>& words) {
    std::string live = "--live";
    std::vector<char*> argv = {const_cast<char*>(kAnalysis), live.data()};
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    execvp(kAnalysis, argv.data());
    return {kFailed, std::string("cannot start ") + kAnalysis + ": " + strerror(errno) +
                             "; it comes with the analysis, put it into PATH"};
}

Result runWords(std::vector<Word> words, const Sources& sources, std::string* output) {
    // Options may stand before the command as well.
    const auto name = std::find_if(words.begin(), words.end(),
                                   [](const Word& word) { return !word.isOption; });
    if (name == words.end()) {
        return runWithoutCommand(words, output);
    }
    const Command* command = findCommand(name->text);
    if (command == nullptr) {
        return {kUsage, "unknown command " + printable(name->text) + "; see stallscopectl --help"};
    }
    words.erase(name);
    return runCommand(*command, words, sources, output);
}

}  // namespace

Result runProgram(const std::vector<std::string>& words, const Sources& sources,
                  std::string* output) {
    if (!words.empty() && words[0] == "--complete") {  // the shell's completion asks
        *output = completion({words.begin() + 1, words.end()});
        return {};
    }
    const bool asksForHelp = words.size() > 1 && (words[1] == "--help" || words[1] == "-h");
    if (!words.empty() && words[0] == kAnalyze && !asksForHelp) {
        return handOver({words.begin() + 1, words.end()});
    }
    const std::vector<Word> split = splitWords(words, allOptions());
    Result result = runWords(split, sources, output);
    // Where the line has an error, its --json counts even behind that.
    const bool json = std::any_of(split.begin(), split.end(),
                                  [](const Word& word) { return word.option == &kJson; });
    if (result.failed()) {
        *output = json ? errorJson(result) : "";
    }
    return result;
}

std::chrono::seconds replyLimit(const Command& command, const Arguments& arguments) {
    const std::vector<const Option*>& options = command.syntax.options;
    const bool captures = std::find(options.begin(), options.end(), &kTimeout) != options.end();
    return std::chrono::seconds(
            std::max(arguments.waitReplySecs, captures ? arguments.timeoutSecs + 5 : 0));
}

void leave(const Result& result, const std::string& output) {
    if (result.failed()) {
        fprintf(stderr, "stallscopectl: %s\n", result.error.c_str());
    }
    const Result printed = printOut(output);
    if (printed.failed() && !result.failed()) {
        leave(printed, "");
    }
    _exit(result.status);
}

}  // namespace android
