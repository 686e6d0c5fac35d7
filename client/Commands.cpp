#include "client/Commands.h"

#include <algorithm>

#include "diagnostics/CaptureBounds.h"

namespace android {

namespace {

const std::vector<Command> kCommands = {
        {"transaction",
         {{&kPid}, {}},
         FileUse::kNone,
         "Show on whom PID waits: its outgoing calls and those of the processes it calls.",
         "Blocked means that the main thread of PID has waited for more than 2 seconds in a call "
         "into a native process or the system server.",
         askTransaction},
        {"async",
         {{&kAnrPid, &kPid}, {}},
         FileUse::kNone,
         "Show the one-way calls from ANR_PID that still wait in PID's queue.",
         "Blocked means that such a call, made by ANR_PID's main thread, has waited for more than "
         "2 seconds.",
         askAsync},
        {"incoming",
         {{&kPid}, {}},
         FileUse::kNone,
         "Show who waits on PID: its incoming calls.",
         "The callers are sorted into Java and native processes; there is no verdict.",
         askIncoming},
        {"print",
         {{&kPid, &kTag}, {}},
         FileUse::kNone,
         "Copy all of PID's transactions into the system log buffer under TAG.",
         "Read them there, for example with logcat -b system -s TAG.",
         askPrint},
        {"check",
         {{&kPid, &kSeconds}, {}},
         FileUse::kNone,
         "Check whether PID's main thread has waited longer than SECONDS.",
         "Blocked means such a wait in a call into a native process or the system server.",
         askCheck},
        {"chain",
         {{&kPid, &kTag}, {}},
         FileUse::kNone,
         "Show the processes that PID calls into, call by call, and log them under TAG.",
         "Of several processes with the same command line only the first is followed.",
         askChain},
        {"fds",
         {{&kPid}, {}},
         FileUse::kNone,
         "Count PID's open descriptors.",
         "The daemon also counts the entries . and .. of the directory; both numbers are shown.",
         askFds},
        {"list-fds",
         {{&kFile, &kPid}, {}},
         FileUse::kReplace,
         "Write the list of PID's open descriptors to FILE, which is replaced.",
         "Descriptors that open or close meanwhile may be missing.",
         askListFds},
        {"dump",
         {{&kPid, &kFile}, {&kTimeout}},
         FileUse::kCapture,
         "Append the stacks of PID to FILE.",
         "A Java process that gives no Java stacks in time is captured as a native one.",
         askDump},
        {"dump-list",
         {{&kFile, &kSubject, &kPids}, {&kAsync}},
         FileUse::kCapture,
         "Write SUBJECT and then the stacks of every PID to FILE, which is replaced.",
         "All captures together get " + std::to_string(kListTimeoutSecs) + " seconds.",
         askDumpList},
        {"dump-binder",
         {{&kPid, &kFile, &kNames}, {&kNoBinderInfo, &kWait}},
         FileUse::kCaptureAndPrune,
         "Append PID's report of calls to FILE, then the stacks of its peers and of every NAME.",
         "The stacks are captured in the background, within " + std::to_string(kPeerTimeoutSecs) +
                 " s for each peer and " + std::to_string(kNamedTimeoutSecs) +
                 " s for each NAME. The daemon does not mark the end of its work, so " +
                 std::to_string(kQuietTime.count()) +
                 " seconds without growth count as the end. FILE's directory is made if it is "
                 "missing, and in the end only its " +
                 std::to_string(kKeptFiles) + " newest files are kept.",
         askDumpBinder},
};

}  // namespace

const std::vector<Command>& commands() {
    return kCommands;
}

std::vector<const Option*> allOptions() {
    std::vector<const Option*> all = optionsOf({});
    for (const Command& command : kCommands) {
        for (const Option* option : command.syntax.options) {
            if (std::find(all.begin(), all.end(), option) == all.end()) {
                all.push_back(option);
            }
        }
    }
    return all;
}

const Command* findCommand(const std::string& name) {
    const auto it = std::find_if(kCommands.begin(), kCommands.end(),
                                 [&](const Command& command) { return name == command.name; });
    return it == kCommands.end() ? nullptr : &*it;
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
