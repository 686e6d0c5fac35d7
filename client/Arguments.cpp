#include "client/Arguments.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "client/Output.h"

namespace android {

namespace {

constexpr int32_t kMaxNumber = std::numeric_limits<int32_t>::max();
constexpr int32_t kMaxWaitSecs = 24 * 60 * 60;
constexpr size_t kMaxTagBytes = 128;

Result usageError(const std::string& message) {
    return {kUsage, message};
}

Result readNumber(const std::string& what, const std::string& word, int32_t lowest, int32_t highest,
                  int32_t* number) {
    const char* end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, *number);
    if (error == std::errc() && rest == end && *number >= lowest && *number <= highest) {
        return {};
    }
    return usageError(what + " must be a whole number from " + std::to_string(lowest) + " to " +
                      std::to_string(highest) + ", not \"" + printable(word) + "\"");
}

Result storePid(const std::string& word, Arguments* arguments) {
    return readNumber("PID", word, 1, kMaxNumber, &arguments->pid);
}

Result storeAnrPid(const std::string& word, Arguments* arguments) {
    return readNumber("ANR_PID", word, 1, kMaxNumber, &arguments->anrPid);
}

Result storePidOfList(const std::string& word, Arguments* arguments) {
    arguments->pids.emplace_back();
    return readNumber("PID", word, 1, kMaxNumber, &arguments->pids.back());
}

Result storeSeconds(const std::string& word, Arguments* arguments) {
    return readNumber("SECONDS", word, std::numeric_limits<int32_t>::min(), kMaxNumber,
                      &arguments->seconds);
}

Result storeTag(const std::string& word, Arguments* arguments) {
    arguments->tag = word;
    if (word.size() <= kMaxTagBytes) {
        return {};
    }
    return usageError("TAG is longer than " + std::to_string(kMaxTagBytes) + " bytes");
}

Result storeFile(const std::string& word, Arguments* arguments) {
    arguments->file = word;
    return word.empty() ? usageError("FILE is empty; name the file to write") : Result();
}

Result storeSubject(const std::string& word, Arguments* arguments) {
    arguments->subject = word;
    return {};
}

Result storeName(const std::string& word, Arguments* arguments) {
    arguments->names.push_back(word);
    return word.empty() ? usageError("NAME is empty; give a whole command line") : Result();
}

Result storeOption(const Option& option, const Word& word, Arguments* arguments) {
    if (option.flag != nullptr) {
        arguments->*option.flag = true;
        return {};
    }
    int32_t* seconds = &(arguments->*option.seconds);
    if (!word.value.has_value()) {
        *seconds = option.withoutNumber;
        return {};
    }
    return readNumber("--" + std::string(option.name), *word.value, 1, kMaxWaitSecs, seconds);
}

Result storeOperand(const Operand* operand, const std::string& word, Arguments* arguments) {
    if (operand == nullptr) {
        return usageError("one argument too many: " + printable(word));
    }
    if (!isUtf8(word)) {
        return usageError(std::string(operand->name) +
                          " is not valid UTF-8, the only text that a call can carry");
    }
    return operand->store(word, arguments);
}

Result checkComplete(const Syntax& syntax, size_t operandsGiven) {
    const Operand* next =
            operandsGiven < syntax.operands.size() ? syntax.operands[operandsGiven] : nullptr;
    return next == nullptr || next->times == Times::kAnyNumber
                   ? Result()
                   : usageError(std::string(next->name) + " is missing");
}

}  // namespace

const Operand kPid = {"PID", Times::kOnce, "process id in decimal, as ps -e lists it", storePid};
const Operand kAnrPid = {"ANR_PID", Times::kOnce,
                         "process id of the caller, usually the one that does not respond",
                         storeAnrPid};
const Operand kPids = {"PID...", Times::kOnceOrMore, "one or more process ids", storePidOfList};
const Operand kSeconds = {"SECONDS", Times::kOnce,
                          "calls that last longer than this count; may be 0 or negative",
                          storeSeconds};
const Operand kTag = {"TAG", Times::kOnce, "log tag of the entries, up to 128 bytes, may be empty",
                      storeTag};
const Operand kFile = {"FILE", Times::kOnce,
                       "file the daemon writes; a relative path is made absolute", storeFile};
const Operand kSubject = {"SUBJECT", Times::kOnce, "first line of the file, may be empty",
                          storeSubject};
const Operand kNames = {"[NAME...]", Times::kAnyNumber,
                        "whole command lines of processes to capture as well", storeName};

const Option kHelp = {"help", "explain this subcommand and exit", &Arguments::help};
const Option kJson = {"json", "print one JSON object instead of text", &Arguments::json};
const Option kForce = {"force", "ask even when PID or FILE looks wrong from here",
                       &Arguments::force};
const Option kWaitReply = {"wait-reply", "give the call S seconds to return", nullptr,
                           &Arguments::waitReplySecs};
const Option kTimeout = {"timeout", "give the capture S seconds", nullptr, &Arguments::timeoutSecs};
const Option kAsync = {"async", "return at once and let the daemon capture on its own",
                       &Arguments::async};
const Option kNoBinderInfo = {"no-binder-info", "leave out the report of calls and its peers",
                              &Arguments::noBinderInfo};
const Option kWait = {"wait", "wait until FILE stops growing, at most S seconds", nullptr,
                      &Arguments::waitSecs, 60};

std::vector<const Option*> optionsOf(const Syntax& syntax) {
    std::vector<const Option*> options = {&kHelp, &kJson, &kForce, &kWaitReply};
    options.insert(options.end(), syntax.options.begin(), syntax.options.end());
    return options;
}

const Operand* operandAt(const Syntax& syntax, size_t place) {
    if (place < syntax.operands.size()) {
        return syntax.operands[place];
    }
    const bool repeats = !syntax.operands.empty() && syntax.operands.back()->times != Times::kOnce;
    return repeats ? syntax.operands.back() : nullptr;
}

std::string spellOption(const Option& option) {
    const char* value = option.flag != nullptr ? "" : option.withoutNumber == 0 ? " S" : "[=S]";
    return "--" + std::string(option.name) + value;
}

Result parseArguments(const Syntax& syntax, const std::vector<Word>& words, Arguments* arguments) {
    const std::vector<const Option*> options = optionsOf(syntax);
    size_t operands = 0;
    for (const Word& word : words) {
        Result result;
        if (!word.isOption) {
            result = storeOperand(operandAt(syntax, operands++), word.text, arguments);
        } else if (std::find(options.begin(), options.end(), word.option) == options.end()) {
            result = usageError("unknown option " + printable(word.text));
        } else if (!word.error.empty()) {
            result = usageError(word.error);
        } else {
            result = storeOption(*word.option, word, arguments);
        }
        if (result.failed() || arguments->help) {
            return result;
        }
    }
    return checkComplete(syntax, operands);
}

}  // namespace android
