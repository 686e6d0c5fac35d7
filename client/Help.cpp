#include "client/Help.h"

namespace android {

namespace {

constexpr const char* kExitStatuses =
        "Exit status:\n"
        "  0  answered; not blocked, where the answer has a verdict\n"
        "  1  answered; blocked\n"
        "  2  wrong arguments, nothing was asked\n"
        "  3  the service does not answer\n"
        "  4  no such process\n"
        "  5  the daemon could not do it, or the call failed\n";

std::string usageLine(const Command& command) {
    std::string line = command.name;
    for (const Operand* operand : command.syntax.operands) {
        line += " " + std::string(operand->name);
    }
    return line;
}

std::string column(const std::string& text, const std::string& explanation) {
    std::string padded = text;
    padded.resize(18, ' ');
    return "  " + padded + explanation + "\n";
}

std::string explain(const Option& option) {
    if (option.flag != nullptr) {
        return option.help;
    }
    const int32_t number =
            option.withoutNumber != 0 ? option.withoutNumber : Arguments().*option.seconds;
    return std::string(option.help) + " (default " + std::to_string(number) + ")";
}

std::string optionLines(const Syntax& syntax) {
    std::string lines = "Options:\n";
    for (const Option* option : optionsOf(syntax)) {
        lines += column(spellOption(*option), explain(*option));
    }
    return lines;
}

}  // namespace

std::string overallHelp() {
    std::string help =
            "Usage: stallscopectl COMMAND [OPTION]... [ARGUMENT]...\n"
            "Asks the StallScope daemon why a process hangs, and shows the answer.\n\n"
            "Commands:\n";
    for (const Command& command : commands()) {
        help += "  " + usageLine(command) + "\n      " + command.sentence + "\n";
    }
    return help + "\n" + optionLines({}) +
           "\nMore about one of them: stallscopectl COMMAND --help\n\n" + kExitStatuses;
}

std::string commandHelp(const Command& command) {
    std::string help = "Usage: stallscopectl " + usageLine(command) + " [OPTION]...\n" +
                       command.sentence + "\n" + command.details + "\n\nArguments:\n";
    for (const Operand* operand : command.syntax.operands) {
        help += column(operand->name, operand->help);
    }
    return help + "\n" + optionLines(command.syntax) + "\n" + kExitStatuses;
}

}  // namespace android
