#include "Arguments.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <limits>
#include <sstream>

#include "Output.h"

namespace android {

namespace {

constexpr int32_t kMaxPid = std::numeric_limits<int32_t>::max();
constexpr int32_t kDefaultWaitSecs = 60;
constexpr int32_t kMaxWaitSecs = 24 * 60 * 60;
constexpr size_t kMaxTagBytes = 128;

Result usageError(const std::string& message) {
    return {kUsage, message};
}

Result readNumber(const char* what, const std::string& word, int32_t lowest, int32_t highest,
                  int32_t* number) {
    const char* end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, *number);
    if (error == std::errc() && rest == end && *number >= lowest && *number <= highest) {
        return {};
    }
    return usageError(std::string(what) + " must be a whole number from " + std::to_string(lowest) +
                      " to " + std::to_string(highest) + ", not \"" + printable(word) + "\"");
}

Result storePid(const std::string& word, Arguments* arguments) {
    return readNumber("PID", word, 1, kMaxPid, &arguments->pid);
}

Result storeAnrPid(const std::string& word, Arguments* arguments) {
    return readNumber("ANR_PID", word, 1, kMaxPid, &arguments->anrPid);
}

Result storePidOfList(const std::string& word, Arguments* arguments) {
    arguments->pids.emplace_back();
    return readNumber("PID", word, 1, kMaxPid, &arguments->pids.back());
}

Result storeSeconds(const std::string& word, Arguments* arguments) {
    return readNumber("SECONDS", word, std::numeric_limits<int32_t>::min(), kMaxPid,
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

const Operand kOperands[] = {
        {"PID", "process id in decimal, as ps -e lists it", storePid},
        {"ANR_PID", "process id of the caller, usually the one that does not respond", storeAnrPid},
        {"PID...", "one or more process ids", storePidOfList},
        {"SECONDS", "calls that last longer than this count; may be 0 or negative", storeSeconds},
        {"TAG", "log tag of the entries, up to 128 bytes, may be empty", storeTag},
        {"FILE", "file the daemon writes; a relative path is made absolute", storeFile},
        {"SUBJECT", "first line of the file, may be empty", storeSubject},
        {"[NAME...]", "whole command lines of processes to capture as well", storeName},
};

const Option kOptions[] = {
        {"--help", OptionValue::kNone, "explain this subcommand and exit", &Arguments::help, {}},
        {"--json",
         OptionValue::kNone,
         "print one JSON object instead of text",
         &Arguments::json,
         {}},
        {"--force",
         OptionValue::kNone,
         "ask even when PID or FILE looks wrong from here",
         &Arguments::force,
         {}},
        {"--wait-reply",
         OptionValue::kRequired,
         "give the call S seconds to return (default 60)",
         {},
         &Arguments::waitReplySecs},
        {"--timeout",
         OptionValue::kRequired,
         "give the capture S seconds (default 10)",
         {},
         &Arguments::timeoutSecs},
        {"--async",
         OptionValue::kNone,
         "return at once and let the daemon capture on its own",
         &Arguments::async,
         {}},
        {"--no-binder-info",
         OptionValue::kNone,
         "leave out the report of calls and its peers",
         &Arguments::noBinderInfo,
         {}},
        {"--wait",
         OptionValue::kOptional,
         "wait until FILE stops growing, at most S seconds (default 60)",
         {},
         &Arguments::waitSecs},
};

constexpr const char* kCommonOptions = "--help --json --force --wait-reply";

/** The entries of table that names lists, in the order of names. */
template <typename Entry, size_t size>
std::vector<const Entry*> select(const Entry (&table)[size], const std::string& names) {
    std::vector<const Entry*> selected;
    std::istringstream stream(names);
    for (std::string name; stream >> name;) {
        selected.push_back(
                std::find_if(table, table + size, [&](const Entry& e) { return name == e.name; }));
    }
    return selected;
}

/** A word such as "-1" is a number, not an option. */
bool looksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !isdigit(static_cast<unsigned char>(word[1]));
}

class ArgumentReader {
  public:
    ArgumentReader(const Syntax& syntax, const std::vector<std::string>& words,
                   Arguments* arguments)
          : mOptions(optionsOf(syntax)),
            mOperands(operandsOf(syntax)),
            mWords(words),
            mArguments(arguments) {}

    Result read() {
        bool optionsEnded = false;
        while (mNext < mWords.size() && !mArguments->help) {
            const std::string& word = mWords[mNext++];
            if (!optionsEnded && word == "--") {
                optionsEnded = true;
                continue;
            }
            Result result =
                    !optionsEnded && looksLikeOption(word) ? readOption(word) : readOperand(word);
            if (result.failed()) {
                return result;
            }
        }
        return mArguments->help ? Result() : checkComplete();
    }

  private:
    Result readOption(const std::string& word) {
        const size_t equals = word.find('=');
        const std::string name = word == "-h" ? "--help" : word.substr(0, equals);
        for (const Option* option : mOptions) {
            if (name == option->name) {
                return readValue(*option, word, equals);
            }
        }
        return usageError("unknown option " + printable(word));
    }

    Result readValue(const Option& option, const std::string& word, size_t equals) {
        if (equals != std::string::npos) {
            const std::string value = word.substr(equals + 1);
            return option.value == OptionValue::kNone || value.empty()
                           ? usageError("write " + spellOption(option) + ", not " + printable(word))
                           : readSeconds(option, value);
        }
        if (option.value == OptionValue::kNone) {
            mArguments->*option.flag = true;
            return {};
        }
        if (option.value == OptionValue::kOptional) {
            mArguments->*option.seconds = kDefaultWaitSecs;
            return {};
        }
        return mNext < mWords.size()
                       ? readSeconds(option, mWords[mNext++])
                       : usageError(std::string(option.name) + " needs a number of seconds");
    }

    Result readSeconds(const Option& option, const std::string& value) {
        return readNumber(option.name, value, 1, kMaxWaitSecs, &(mArguments->*option.seconds));
    }

    Result readOperand(const std::string& word) {
        if (mOperand == mOperands.size()) {
            return usageError("one argument too many: " + printable(word));
        }
        const Operand& operand = *mOperands[mOperand];
        if (!isUtf8(word)) {
            return usageError(std::string(operand.name) +
                              " is not valid UTF-8, the only text that "
                              "a call can carry");
        }
        mRepeated = strstr(operand.name, "...") != nullptr;
        mOperand += mRepeated ? 0 : 1;
        return operand.store(word, mArguments);
    }

    Result checkComplete() const {
        const size_t given = mOperand + (mRepeated ? 1 : 0);
        if (given >= mOperands.size() || mOperands[given]->name[0] == '[') {
            return {};
        }
        return usageError(std::string(mOperands[given]->name) + " is missing");
    }

    const std::vector<const Option*> mOptions;
    const std::vector<const Operand*> mOperands;
    const std::vector<std::string>& mWords;
    Arguments* mArguments;
    size_t mNext = 0;
    size_t mOperand = 0;
    bool mRepeated = false;
};

}  // namespace

std::vector<const Option*> optionsOf(const Syntax& syntax) {
    return select(kOptions, std::string(kCommonOptions) + " " + syntax.options);
}

std::vector<const Operand*> operandsOf(const Syntax& syntax) {
    return select(kOperands, syntax.operands);
}

std::string spellOption(const Option& option) {
    switch (option.value) {
        case OptionValue::kNone:
            return option.name;
        case OptionValue::kOptional:
            return std::string(option.name) + "[=S]";
        case OptionValue::kRequired:
            return std::string(option.name) + " S";
    }
    return option.name;
}

Result parseArguments(const Syntax& syntax, const std::vector<std::string>& words,
                      Arguments* arguments) {
    return ArgumentReader(syntax, words, arguments).read();
}

}  // namespace android
