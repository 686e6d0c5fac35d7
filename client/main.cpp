#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "Commands.h"

namespace android {

namespace {

constexpr std::chrono::seconds kLookUpLimit(5);

/** Leaves without the destructors of static objects, which binder's threads may still use. */
[[noreturn]] void leave(const Result& result, bool json) {
    if (result.failed()) {
        printError(result, json);
    }
    fflush(stdout);
    _exit(result.status);
}

sp<IStallscope> connect(bool json) {
    std::atomic<const char*> obstacle = "the binder driver does not answer";
    Watchdog watchdog(kLookUpLimit, [&] {
        leave({kNoService, "no service within 5 seconds: " + std::string(obstacle)}, json);
    });
    sp<IStallscope> service;
    const Result result = findService(&obstacle, &service);
    if (result.failed()) {
        leave(result, json);
    }
    return service;
}

/** The daemon may rightly take as long as the capture that it was asked for. */
std::chrono::seconds replyLimit(const Arguments& arguments) {
    return std::chrono::seconds(std::max(arguments.waitReplySecs, arguments.timeoutSecs + 5));
}

Result ask(const Command& command, const Request& request) {
    const Arguments& arguments = request.arguments;
    const std::chrono::seconds limit = replyLimit(arguments);
    Result result;
    {
        Watchdog watchdog(limit, [&] {
            leave({kNoService, "no reply within " + std::to_string(limit.count()) +
                                       " seconds; the daemon still works on it or hangs itself"},
                  arguments.json);
        });
        result = command.run(request);
    }
    if (!result.failed() && arguments.waitSecs > 0) {
        result = followFile(request);
    }
    return result;
}

Result run(const Command& command, const std::vector<std::string>& words, Arguments* arguments) {
    Result result = parseArguments(command.syntax, words, arguments);
    if (result.failed()) {
        result.error += "; see stallscopectl " + std::string(command.name) + " --help";
        return result;
    }
    if (arguments->help) {
        return printOut(commandHelp(command));
    }
    result = checkArguments(command, arguments);
    if (result.failed()) {
        return result;
    }
    const sp<IStallscope> service = connect(arguments->json);
    Report report;
    reportQuestion(command, *arguments, &report);
    result = ask(command, {*service, *arguments, FileState::of(arguments->file), &report});
    if (result.failed()) {
        return result;
    }
    const Result printed = printOut(arguments->json ? report.json() : report.text());
    return printed.failed() ? printed : result;
}

Result run(const std::vector<std::string>& words, Arguments* arguments) {
    // Options may stand before the command as well.
    const auto name = std::find_if(words.begin(), words.end(), [](const std::string& word) {
        return word.empty() || word[0] != '-';
    });
    if (name == words.end()) {
        const bool wantsHelp = !words.empty() && (words[0] == "--help" || words[0] == "-h");
        return wantsHelp ? printOut(overallHelp())
                         : Result{kUsage, "no command given; see stallscopectl --help"};
    }
    const Command* command = findCommand(*name);
    if (command == nullptr) {
        return {kUsage, "unknown command " + printable(*name) + "; see stallscopectl --help"};
    }
    std::vector<std::string> others(words.begin(), name);
    others.insert(others.end(), name + 1, words.end());
    return run(*command, others, arguments);
}

}  // namespace

}  // namespace android

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    // Known before the arguments are read, so that an error in them comes as JSON too.
    const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
    android::Arguments arguments;
    android::leave(android::run(words, &arguments), json);
}
