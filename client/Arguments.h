#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace android {

/** The meaning is the same for every subcommand; scripts rely on the numbers. */
enum ExitStatus : int {
    kAnswered = 0,
    kBlocked = 1,
    kUsage = 2,
    kNoService = 3,
    kNoProcess = 4,
    kFailed = 5,
};

/** How a step ended: an answer when error is empty, otherwise what went wrong and what to do. */
struct Result {
    ExitStatus status = kAnswered;
    std::string error;

    bool failed() const { return !error.empty(); }
};

struct Arguments {
    bool help = false;
    bool json = false;
    bool force = false;
    bool async = false;
    bool noBinderInfo = false;
    int32_t anrPid = 0;
    int32_t pid = 0;
    std::vector<int32_t> pids;
    int32_t seconds = 0;
    int32_t timeoutSecs = 10;
    int32_t waitReplySecs = 60;
    int32_t waitSecs = 0;
    std::string tag;
    std::string file;
    std::string subject;
    std::vector<std::string> names;
};

struct Operand {
    const char* name;
    const char* help;
    Result (*store)(const std::string& word, Arguments* arguments);
};

enum class OptionValue { kNone, kOptional, kRequired };

struct Option {
    const char* name;
    OptionValue value;
    const char* help;
    bool Arguments::*flag;
    int32_t Arguments::*seconds;
};

/** How a subcommand is called: operands such as "PID FILE [NAME...]" and the options it adds. */
struct Syntax {
    const char* operands;
    const char* options;
};

/** The options of every subcommand, then those that syntax adds. */
std::vector<const Option*> optionsOf(const Syntax& syntax);

/** The operands of syntax, without the marks for repetition. */
std::vector<const Operand*> operandsOf(const Syntax& syntax);

/** "--wait[=S]" and the like. */
std::string spellOption(const Option& option);

/** Reads the words after the subcommand; stops early, successfully, at --help. */
Result parseArguments(const Syntax& syntax, const std::vector<std::string>& words,
                      Arguments* arguments);

}  // namespace android
