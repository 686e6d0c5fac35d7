#ifndef STALLSCOPE_CLIENT_ARGUMENTS_H
#define STALLSCOPE_CLIENT_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "client/Result.h"
#include "client/Words.h"

namespace android {

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

enum class Times { kOnce, kOnceOrMore, kAnyNumber };

struct Operand {
    const char* name = "";
    Times times = Times::kOnce;
    const char* help = "";
    Result (*store)(const std::string& word, Arguments* arguments) = nullptr;
};

// Sets flag, or reads a number of seconds; the number may be left out if there is one for that.
struct Option {
    const char* name = "";
    const char* help = "";
    bool Arguments::*flag = nullptr;
    int32_t Arguments::*seconds = nullptr;
    int32_t withoutNumber = 0;
};

extern const Operand kPid, kAnrPid, kPids, kSeconds, kTag, kFile, kSubject, kNames;
extern const Option kHelp, kJson, kForce, kWaitReply, kTimeout, kAsync, kNoBinderInfo, kWait;

// What a subcommand takes: its operands in order, of which the last may repeat, and the options
// that it adds to those of every subcommand.
struct Syntax {
    std::vector<const Operand*> operands;
    std::vector<const Option*> options;
};

// The options of every subcommand, then those that syntax adds.
std::vector<const Option*> optionsOf(const Syntax& syntax);

// The operand at place, counted from 0; null when there can't be as many.
const Operand* operandAt(const Syntax& syntax, size_t place);

// "--wait[=S]" and the like.
std::string spellOption(const Option& option);

// Reads the words besides the subcommand; stops early, successfully, at --help.
Result parseArguments(const Syntax& syntax, const std::vector<Word>& words, Arguments* arguments);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_ARGUMENTS_H
