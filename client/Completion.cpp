#include "client/Completion.h"

#include "client/Commands.h"

namespace android {

namespace {

// Where the line stands before the word that is being typed.
struct Place {
    bool hopeless = false;  // an error, or the value of an option is due
    const Command* command = nullptr;
    size_t operands = 0;
};

Place placeAfter(const std::vector<std::string>& words) {
    Place place;
    for (const Word& word : splitWords(words, allOptions())) {
        if (word.isOption) {
            place.hopeless |= word.option == nullptr || !word.error.empty();
        } else if (place.command != nullptr) {
            ++place.operands;
        } else {
            place.command = findCommand(word.text);
            place.hopeless |= place.command == nullptr;
        }
    }
    return place;
}

std::string optionLines(const Syntax& syntax) {
    std::string lines;
    for (const Option* option : optionsOf(syntax)) {
        lines += "--" + std::string(option->name) + "\n";
    }
    return lines;
}

std::string commandLines() {
    std::string lines;
    for (const Command& command : commands()) {
        lines += std::string(command.name) + "\n";
    }
    return lines;
}

}  // namespace

std::string completion(std::vector<std::string> words) {
    if (words.empty()) {
        return "";
    }
    const std::string typed = words.back();
    words.pop_back();
    const Place place = placeAfter(words);
    if (place.hopeless) {
        return "";
    }
    const Syntax syntax = place.command == nullptr ? Syntax() : place.command->syntax;
    if (typed[0] == '-') {
        return optionLines(syntax);
    }
    if (place.command == nullptr) {
        return commandLines();
    }
    const Operand* operand = operandAt(syntax, place.operands);
    return operand == nullptr ? "" : std::string(operand->name) + "\n";
}

}  // namespace android
