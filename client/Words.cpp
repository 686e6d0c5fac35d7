#include "client/Words.h"

#include <getopt.h>

#include <cctype>
#include <cstring>

#include "client/Arguments.h"
#include "client/Output.h"

namespace android {

namespace {

// getopt_long's number for the first option of its table; below are characters.
constexpr int kFirstOption = 256;

// Operands are taken where they stand, and errors told by what getopt_long returns.
constexpr const char* kShortOptions = "-:h";

bool isNegativeNumber(const char* word) {
    return word[0] == '-' && isdigit(static_cast<unsigned char>(word[1])) != 0;
}

std::vector<option> longOptions(const std::vector<const Option*>& options) {
    std::vector<option> table;
    int number = kFirstOption;
    for (const Option* each : options) {
        const int value = each->flag != nullptr      ? no_argument
                          : each->withoutNumber == 0 ? required_argument
                                                     : optional_argument;
        table.push_back({each->name, value, nullptr, number++});
    }
    table.push_back({});
    return table;
}

// What getopt_long found in text.
Word wordFor(int found, const char* text, const std::vector<const Option*>& options) {
    if (found == 1) {
        return {text};
    }
    if (found == 'h') {
        return {text, true, &kHelp};
    }
    if (found >= kFirstOption) {
        const Option* option = options[found - kFirstOption];
        return {text, true, option, optarg == nullptr ? std::nullopt : std::make_optional(optarg)};
    }
    if (optopt < kFirstOption) {
        return {text, true};
    }
    const Option& option = *options[optopt - kFirstOption];
    const std::string error =
            strchr(text, '=') != nullptr
                    ? "write " + spellOption(option) + ", not " + printable(text)
                    : "--" + std::string(option.name) + " needs a number of seconds";
    return {text, true, &option, {}, error};
}

}  // namespace

std::vector<Word> splitWords(std::vector<std::string> words,
                             const std::vector<const Option*>& options) {
    words.insert(words.begin(), "stallscopectl");
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const int count = static_cast<int>(words.size());
    const std::vector<option> table = longOptions(options);
    opterr = 0;
    // 0 starts anew; the first look, at the program's name alone, only makes it 1.
    optind = 0;
    (void)getopt_long(1, argv.data(), kShortOptions, table.data(), nullptr);
    std::vector<Word> split;
    for (bool optionsEnded = false; optind < count;) {
        char* const word = argv[optind];
        if (optionsEnded || isNegativeNumber(word)) {
            split.push_back({word});
            ++optind;
            continue;
        }
        const int found = getopt_long(count, argv.data(), kShortOptions, table.data(), nullptr);
        if (found == -1) {
            optionsEnded = true;
        } else {
            split.push_back(wordFor(found, word, options));
        }
    }
    return split;
}

}  // namespace android
