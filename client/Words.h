#ifndef STALLSCOPE_CLIENT_WORDS_H
#define STALLSCOPE_CLIENT_WORDS_H

#include <optional>
#include <string>
#include <vector>

namespace android {

struct Option;

// A part of the command line: an operand, or an option with what was given as its value.
struct Word {
    std::string text;  // as it was typed
    bool isOption = false;
    const Option* option = nullptr;  // null for an option that is unknown
    std::optional<std::string> value = {};
    std::string error = {};  // what is wrong with the value
};

// Tells operands and options apart. A word such as "-1" is an operand.
std::vector<Word> splitWords(std::vector<std::string> words,
                             const std::vector<const Option*>& options);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_WORDS_H
