#include "Commands.h"

#include <algorithm>

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

const std::vector<Command> kCommands = {
        {"transaction",
         {"PID", ""},
         FileUse::kNone,
         "Show on whom PID waits: its outgoing calls and those of the processes it calls.",
         "Blocked means that the main thread of PID has waited for more than 2 seconds in a call "
         "into a native process or the system server.",
         askTransaction},
        {"async",
         {"ANR_PID PID", ""},
         FileUse::kNone,
         "Show the one-way calls from ANR_PID that still wait in PID's queue.",
         "Blocked means that such a call, made by ANR_PID's main thread, has waited for more than "
         "2 seconds.",
         askAsync},
        {"incoming",
         {"PID", ""},
         FileUse::kNone,
         "Show who waits on PID: its incoming calls.",
         "The callers are sorted into Java and native processes; there is no verdict.",
         askIncoming},
        {"print",
         {"PID TAG", ""},
         FileUse::kNone,
         "Copy all of PID's transactions into the system log buffer under TAG.",
         "Read them there, for example with logcat -b system -s TAG.",
         askPrint},
        {"check",
         {"PID SECONDS", ""},
         FileUse::kNone,
         "Check whether PID's main thread has waited longer than SECONDS.",
         "Blocked means such a wait in a call into a native process or the system server.",
         askCheck},
        {"chain",
         {"PID TAG", ""},
         FileUse::kNone,
         "Show the processes that PID calls into, call by call, and log them under TAG.",
         "Of several processes with the same command line only the first is followed.",
         askChain},
        {"fds",
         {"PID", ""},
         FileUse::kNone,
         "Count PID's open descriptors.",
         "The daemon also counts the entries . and .. of the directory; both numbers are shown.",
         askFds},
        {"list-fds",
         {"FILE PID", ""},
         FileUse::kReplace,
         "Write the list of PID's open descriptors to FILE, which is replaced.",
         "Descriptors that open or close meanwhile may be missing.",
         askListFds},
        {"dump",
         {"PID FILE", "--timeout"},
         FileUse::kCapture,
         "Append the stacks of PID to FILE.",
         "A Java process that gives no Java stacks in time is captured as a native one.",
         askDump},
        {"dump-list",
         {"FILE SUBJECT PID...", "--async"},
         FileUse::kCapture,
         "Write SUBJECT and then the stacks of every PID to FILE, which is replaced.",
         "All captures together get 20 seconds.",
         askDumpList},
        {"dump-binder",
         {"PID FILE [NAME...]", "--no-binder-info --wait"},
         FileUse::kCaptureAndPrune,
         "Append PID's report of calls to FILE, then the stacks of its peers and of every NAME.",
         "The stacks are captured in the background. FILE's directory is made if it is missing, "
         "and in the end only its five newest files are kept.",
         askDumpBinder},
};

std::string usageLine(const Command& command) {
    return std::string(command.name) + " " + command.syntax.operands;
}

std::string column(const std::string& text, size_t width) {
    return "  " + text + std::string(text.size() < width ? width - text.size() : 1, ' ');
}

std::string optionLines(const Syntax& syntax) {
    std::string lines = "Options:\n";
    for (const Option* option : optionsOf(syntax)) {
        lines += column(spellOption(*option), 18) + option->help + "\n";
    }
    return lines;
}

}  // namespace

const std::vector<Command>& commands() {
    return kCommands;
}

const Command* findCommand(const std::string& name) {
    const auto it = std::find_if(kCommands.begin(), kCommands.end(),
                                 [&](const Command& command) { return name == command.name; });
    return it == kCommands.end() ? nullptr : &*it;
}

std::string overallHelp() {
    std::string help =
            "Usage: stallscopectl COMMAND [OPTION]... [ARGUMENT]...\n"
            "Asks the StallScope daemon why a process hangs, and shows the answer.\n\n"
            "Commands:\n";
    for (const Command& command : kCommands) {
        help += "  " + usageLine(command) + "\n      " + command.sentence + "\n";
    }
    return help + "\n" + optionLines({"", ""}) +
           "\nMore about one of them: stallscopectl COMMAND --help\n\n" + kExitStatuses;
}

std::string commandHelp(const Command& command) {
    std::string help = "Usage: stallscopectl " + usageLine(command) + " [OPTION]...\n" +
                       command.sentence + "\n" + command.details + "\n\nArguments:\n";
    for (const Operand* operand : operandsOf(command.syntax)) {
        help += column(operand->name, 18) + operand->help + "\n";
    }
    return help + "\n" + optionLines(command.syntax) + "\n" + kExitStatuses;
}

Result checkArguments(const Command& command, Arguments* arguments) {
    Result result;
    if (command.fileUse != FileUse::kNone) {
        result = makeAbsolute(&arguments->file);
    }
    if (result.failed() || arguments->force) {
        return result;
    }
    std::vector<int32_t> pids = arguments->pids;
    pids.insert(pids.begin(), {arguments->anrPid, arguments->pid});
    for (const int32_t pid : pids) {
        // 0 stands for a pid that this subcommand doesn't take.
        result = pid == 0 ? Result() : checkProcess(pid);
        if (result.failed()) {
            return result;
        }
    }
    return command.fileUse == FileUse::kNone ? result
                                             : checkOutputFile(arguments->file, command.fileUse);
}

void reportQuestion(const Command& command, const Arguments& arguments, Report* report) {
    report->string("command", command.name);
    if (arguments.anrPid != 0) {
        report->number("anrPid", arguments.anrPid);
    }
    if (arguments.pid != 0) {
        report->number("pid", arguments.pid);
    }
    if (command.fileUse != FileUse::kNone) {
        report->string("file", arguments.file);
    }
}

std::string describeProcess(int32_t pid) {
    return std::to_string(pid) + " (" + processName(pid) + ")";
}

Result callFailed(const binder::Status& status) {
    const bool died = status.transactionError() == DEAD_OBJECT;
    return {kFailed, died ? "the daemon ended during the call; look into its log"
                          : "the call failed: " + std::string(status.toString8().string())};
}

}  // namespace android
