#include <algorithm>
#include <cstdlib>

#include "client/Commands.h"

namespace android {

namespace {

using Strings = std::vector<std::string>;

struct Pids {
    const char* key;
    const char* heading;
    Strings pids = {};
};

// The two verdicts in words.
struct Meaning {
    std::string blocked;
    std::string notBlocked;
};

// What a report call fills in. Without a meaning the call gives no verdict.
struct Findings {
    std::string title = {};
    Meaning meaning = {};
    Strings tree = {};
    Strings lines = {};
    std::vector<Pids> peers = {{"javaPids", "Java processes:"},
                               {"nativePids", "Native processes:"}};
    bool blocked = false;
};

// Two decimals are enough to read, and still show why 2.00 is not more than 2.
std::string shortSeconds(const std::string& text) {
    return text.substr(0, text.find('.') + 3) + " s";
}

// The calls come depth first, so a caller is the latest callee of that pid still on the path.
Strings drawTree(const std::string& start, const Strings& senders, const Strings& receivers,
                 const Strings& cmdlines, const Strings& elapsed) {
    Strings tree;
    Strings path{start};
    const size_t count =
            std::min({senders.size(), receivers.size(), cmdlines.size(), elapsed.size()});
    for (size_t i = 0; i < count; i++) {
        while (path.size() > 1 && path.back() != senders[i]) {
            path.pop_back();
        }
        tree.push_back(std::string(path.size() * 3, ' ') + "-> " + receivers[i] + " (" +
                       cmdlines[i] + ")  " + shortSeconds(elapsed[i]));
        path.push_back(receivers[i]);
    }
    return tree;
}

void showPids(const Pids& found, Report* report) {
    report->list(found.key, found.pids);
    Strings shown;
    for (auto it = found.pids.begin(); it != found.pids.end(); ++it) {
        // A caller is listed once per call.
        if (std::find(found.pids.begin(), it, *it) == it) {
            shown.push_back(
                    "  " + describeProcess(static_cast<int32_t>(strtol(it->c_str(), nullptr, 10))));
        }
    }
    report->say(found.heading, shown.empty() ? Strings{"  none"} : shown);
}

void showLines(const Strings& lines, Report* report) {
    report->list("lines", lines);
    if (lines.empty()) {
        report->say(
                "No call found. The answer is the same when the daemon cannot read the "
                "kernel's binder log; its own log then says \"Parser file failed\".",
                {});
        return;
    }
    report->say("Report lines:", lines);
    const bool unread = std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find(" from 0(") != std::string::npos ||
               line.find(" from 0 : 0 ") != std::string::npos;
    });
    if (unread) {
        report->say(
                "Lines from process 0 are ones that the daemon could not read: this kernel's "
                "log does not say how long a call has waited.",
                {});
    }
}

Result showVerdict(const Findings& found, Report* report) {
    if (found.meaning.blocked.empty()) {
        return {};
    }
    // Without lines nothing can be blocked, and the daemon may not have set its result.
    const bool blocked = found.blocked && !found.lines.empty();
    report->flag("blocked", blocked);
    report->say(blocked ? "Verdict: blocked: " + found.meaning.blocked
                        : "Verdict: not blocked: " + found.meaning.notBlocked);
    return {blocked ? kBlocked : kAnswered, ""};
}

Result show(const binder::Status& status, const Findings& found, Report* report) {
    if (!status.isOk()) {
        return callFailed(status);
    }
    report->say(found.title.c_str(), found.tree);
    showLines(found.lines, report);
    for (const Pids& peers : found.peers) {
        showPids(peers, report);
    }
    return showVerdict(found, report);
}

Meaning longWait(int32_t seconds) {
    const std::string wait = "waited for more than " + std::to_string(seconds) +
                             " s in a call into a native process or the system server.";
    return {"its main thread has " + wait, "its main thread has not " + wait};
}

}  // namespace

Result askTransaction(const Request& request) {
    const int32_t pid = request.arguments.pid;
    Report* report = request.report;
    Findings found{"On whom process " + describeProcess(pid) + " waits:", longWait(2)};
    Strings senderCmdlines, receiverCmdlines, elapsed, senderPids, receiverPids;
    const binder::Status status = request.service->getTransaction(
            pid, &found.lines, &found.peers[0].pids, &found.peers[1].pids, &senderCmdlines,
            &receiverCmdlines, &elapsed, &senderPids, &receiverPids, &found.blocked);
    found.tree = drawTree(std::to_string(pid), senderPids, receiverPids, receiverCmdlines, elapsed);
    report->list("senderPids", senderPids);
    report->list("senderCmdlines", senderCmdlines);
    report->list("receiverPids", receiverPids);
    report->list("receiverCmdlines", receiverCmdlines);
    report->list("elapsedTexts", elapsed);
    return show(status, found, report);
}

Result askAsync(const Request& request) {
    const Arguments& arguments = request.arguments;
    Findings found{"One-way calls from process " + describeProcess(arguments.anrPid) +
                           " that wait in process " + describeProcess(arguments.pid) +
                           ", and the calls which that one makes:",
                   {"one of them was sent by the sender's main thread and has waited for more than "
                    "2 s.",
                    "none of them was sent by the sender's main thread more than 2 s ago."}};
    const binder::Status status = request.service->getAsyncTransaction(
            arguments.anrPid, arguments.pid, &found.lines, &found.peers[0].pids,
            &found.peers[1].pids, &found.blocked);
    return show(status, found, request.report);
}

Result askIncoming(const Request& request) {
    const int32_t pid = request.arguments.pid;
    Findings found{"Who waits on process " + describeProcess(pid) + ":"};
    const binder::Status status = request.service->getThreadFullInfo(
            pid, &found.lines, &found.peers[0].pids, &found.peers[1].pids);
    return show(status, found, request.report);
}

Result askPrint(const Request& request) {
    const Arguments& arguments = request.arguments;
    const binder::Status status =
            request.service->printfProcBinderInfo(arguments.pid, arguments.tag);
    if (!status.isOk()) {
        return callFailed(status);
    }
    request.report->say("The transactions of process " + describeProcess(arguments.pid) +
                        " are in the system log buffer under the tag \"" + arguments.tag +
                        "\". If nothing is there, the daemon could not read the kernel's binder "
                        "log.");
    return {};
}

Result askCheck(const Request& request) {
    const Arguments& arguments = request.arguments;
    Findings found{"Outgoing calls of process " + describeProcess(arguments.pid) +
                           " and of the processes it has long waited on:",
                   longWait(arguments.seconds)};
    found.peers = {{"visitedPids", "Processes waited on for longer:"}};
    const binder::Status status = request.service->checkTransaction(
            arguments.pid, arguments.seconds, &found.lines, &found.peers[0].pids, &found.blocked);
    request.report->number("thresholdSecs", arguments.seconds);
    return show(status, found, request.report);
}

Result askChain(const Request& request) {
    const Arguments& arguments = request.arguments;
    Findings found{"Calls from process " + describeProcess(arguments.pid) +
                   " onwards, also in the system log under the tag \"" + arguments.tag + "\":"};
    Strings peerCmdlines;
    found.peers = {{"peerPids", "Processes called:"}};
    const binder::Status status = request.service->getTransactProc(
            arguments.pid, arguments.tag, &found.peers[0].pids, &peerCmdlines, &found.lines);
    request.report->list("peerCmdlines", peerCmdlines);
    return show(status, found, request.report);
}

}  // namespace android
