#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "diagnostics/AsyncTransactionReport.h"
#include "diagnostics/BinderInfoPrintout.h"
#include "diagnostics/BinderPeerChain.h"
#include "diagnostics/BlockedCallCheck.h"
#include "diagnostics/IncomingTransactionReport.h"
#include "diagnostics/OutgoingTransactionReport.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "tests/fuzz/Choices.h"
#include "tests/support/LogCapture.h"

// The reports on random graphs of calls between a few processes with random attributes: chains,
// cycles, processes that call themselves or have gone.

namespace {

using namespace android;
using namespace android::test;

constexpr int kPids = 7;  // 0 to 6

struct Attributes {
    bool isThere = false;
    std::string cmdline;
    std::string comm;
    std::string adj;
};
Attributes sProcesses[kPids];

void require(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}
#define REQUIRE(condition) require(condition, #condition)

int openText(const std::string& text) {
    int file = memfd_create("text", MFD_CLOEXEC);
    require(write(file, text.data(), text.size()) == ssize_t(text.size()), "write");
    lseek(file, 0, SEEK_SET);
    return file;
}

void generateProcesses(Choices* choices) {
    constexpr const char* kCmdlines[] = {
            "com.app", "system_server",  "",
            "x\0y",    "/system/bin/sh", "com.android.commands.monkey"};
    constexpr const char* kAdjs[] = {"-1000\n", "-950\n", "-900\n", "0\n", "1000",
                                     "1001",    "-901",   "",       "x",   "99999999999"};
    for (Attributes& each : sProcesses) {
        each.isThere = !choices->oneIn(5);
        each.cmdline = choices->among(kCmdlines) + std::string("\0argument", 9);
        each.comm = choices->oneIn(2) ? "thread\nname" : "";
        each.adj = choices->among(kAdjs);
    }
}

std::string generateLog(Choices* choices) {
    constexpr const char* kTypes[] = {"outgoing", "outgoing", "incoming", "pending async"};
    constexpr int kElapsed[] = {0, 1999, 2000, 2001, 5000};
    std::string log;
    while (!choices->isExhausted()) {
        int section = choices->below(kPids);
        log += "proc " + std::to_string(section) + "\n";
        for (unsigned lines = choices->below(5); lines > 0; --lines) {
            char line[200];
            snprintf(line, sizeof(line),
                     "  %s transaction 71: 0000 from %d:%d to %d:%d code %d elapsed %dms\n",
                     choices->among(kTypes), choices->oneIn(4) ? choices->below(kPids) : section,
                     choices->below(kPids), choices->below(kPids), choices->below(kPids),
                     choices->below(9), choices->among(kElapsed));
            log += line;
        }
    }
    return log;
}

// The lists of a request. Sometimes a client passes them filled.
struct Lists {
    Texts lines, javaPids, nativePids, senderCmdlines, receiverCmdlines, elapsedTexts, senderPids,
            receiverPids;

    explicit Lists(Choices* choices) {
        lines = {"first"};
        for (Texts* list : {&javaPids, &nativePids}) {
            if (choices->oneIn(4)) {
                *list = {std::to_string(choices->below(kPids))};
            }
        }
    }
    bool operator==(const Lists& other) const {
        return lines == other.lines && javaPids == other.javaPids &&
               nativePids == other.nativePids && senderCmdlines == other.senderCmdlines &&
               receiverCmdlines == other.receiverCmdlines && elapsedTexts == other.elapsedTexts &&
               senderPids == other.senderPids && receiverPids == other.receiverPids;
    }
};

bool contains(const Texts& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isUnique(Texts list) {
    std::sort(list.begin(), list.end());
    return std::adjacent_find(list.begin(), list.end()) == list.end();
}

bool startsWith(const Texts& list, const Texts& start) {
    return list.size() >= start.size() && std::equal(start.begin(), start.end(), list.begin());
}

std::string endpoint(int pid, int tid) {
    return std::to_string(pid) + "(" + getProcessCmdline(pid) + "):" + std::to_string(tid) + "(" +
           getProcessComm(tid) + ")";
}

std::string namedText(const BinderTransaction& call) {
    return call.type + " transaction from " + endpoint(call.fromPid, call.fromTid) + " to " +
           endpoint(call.toPid, call.toTid) + " elapsed: " + std::to_string(call.elapsed) +
           " s code: " + std::to_string(call.code);
}

// The outgoing report as one would say it: by recursion.
bool reportOutgoing(int pid, const BinderLogParser& parser, Lists* lists) {
    bool isBlocked = false;
    for (const BinderTransaction& call : parser.getProcessTransactionsByType(pid, kOutgoing)) {
        lists->lines.push_back(namedText(call));
        lists->senderCmdlines.push_back(getProcessCmdline(call.fromPid));
        lists->receiverCmdlines.push_back(getProcessCmdline(call.toPid));
        lists->elapsedTexts.push_back(std::to_string(call.elapsed));
        lists->senderPids.push_back(std::to_string(call.fromPid));
        std::string receiver = std::to_string(call.toPid);
        lists->receiverPids.push_back(receiver);
        if (contains(lists->javaPids, receiver) || contains(lists->nativePids, receiver) ||
            call.fromPid != pid || call.toPid < 1 || call.toPid == pid) {
            continue;
        }
        int adj = getOomAdjOfPid(call.toPid);
        bool isShellJava = getProcessCmdline(call.toPid) == "com.android.commands.monkey";
        if (adj == -1000 || (adj == -950 && !isShellJava)) {
            lists->nativePids.push_back(receiver);
        } else if (adj == -950 || (adj >= -900 && adj <= 1000)) {
            lists->javaPids.push_back(receiver);
        } else {
            continue;
        }
        isBlocked |=
                (adj == -1000 || adj == -900) && call.elapsed > 2.0 && call.fromPid == call.fromTid;
        reportOutgoing(call.toPid, parser, lists);
    }
    return isBlocked;
}

struct Request {
    explicit Request(Choices* choices)
          : pid(choices->below(kPids)),
            anrFromPid(choices->below(kPids)),
            thresholdSecs(static_cast<int>(choices->below(6)) - 1),
            lists(choices) {}

    int pid;
    int anrFromPid;
    int thresholdSecs;
    Lists lists;
};

void checkOutgoing(const Request& request, BinderLogParser& parser) {
    Lists expected = request.lists;
    Lists actual = request.lists;
    bool isBlocked = getBinderTransactions(request.pid, parser, &actual.lines, &actual.javaPids,
                                           &actual.nativePids, &actual.senderCmdlines,
                                           &actual.receiverCmdlines, &actual.elapsedTexts,
                                           &actual.senderPids, &actual.receiverPids);
    REQUIRE(isBlocked == reportOutgoing(request.pid, parser, &expected));
    REQUIRE(actual == expected);
}

void checkAsync(const Request& request, BinderLogParser& parser) {
    Lists lists = request.lists;
    getAsyncBinderTransactions(request.anrFromPid, request.pid, parser, &lists.lines,
                               &lists.javaPids, &lists.nativePids);
    REQUIRE(startsWith(lists.lines, request.lists.lines));
    REQUIRE(startsWith(lists.javaPids, request.lists.javaPids) && isUnique(lists.javaPids));
    REQUIRE(startsWith(lists.nativePids, request.lists.nativePids) && isUnique(lists.nativePids));
}

void checkIncoming(const Request& request, BinderLogParser& parser) {
    Lists expected = request.lists;
    for (const BinderTransaction& call :
         parser.getProcessTransactionsByType(request.pid, kIncoming)) {
        expected.lines.push_back(namedText(call));
        int adj = getOomAdjOfPid(call.fromPid);
        if (call.fromPid >= 1 && adj == -1000) {
            expected.nativePids.push_back(std::to_string(call.fromPid));
        } else if (call.fromPid >= 1 && adj >= -900 && adj <= 1000) {
            expected.javaPids.push_back(std::to_string(call.fromPid));
        }
    }
    Lists actual = request.lists;
    getBinderThreadFullInfo(request.pid, parser, &actual.lines, &actual.javaPids,
                            &actual.nativePids);
    REQUIRE(actual == expected);
}

void checkBlocked(const Request& request, BinderLogParser& parser) {
    Lists lists = request.lists;
    checkBinderTransactions(request.pid, parser, request.thresholdSecs, &lists.lines,
                            &lists.javaPids);
    REQUIRE(startsWith(lists.lines, request.lists.lines));
    REQUIRE(startsWith(lists.javaPids, request.lists.javaPids) && isUnique(lists.javaPids));
}

void checkPeers(const Request& request, BinderLogParser& parser) {
    Lists lists = request.lists;
    getBinderToProcess(request.pid, parser, "tag", &lists.javaPids, &lists.receiverCmdlines,
                       &lists.lines);
    REQUIRE(startsWith(lists.lines, request.lists.lines));
    REQUIRE(startsWith(lists.javaPids, request.lists.javaPids) && isUnique(lists.javaPids));
    REQUIRE(isUnique(lists.receiverCmdlines));
    REQUIRE(lists.javaPids.size() == request.lists.javaPids.size() + lists.receiverCmdlines.size());
}

void checkPrintout(const Request& request, BinderLogParser& parser) {
    takeLog();
    printfBinderInfo(request.pid, parser, "tag");
    const std::vector<BinderTransaction>* records = parser.getProcessTransactions(request.pid);
    // The header, and either the entries or one error.
    REQUIRE(takeLogWithoutDebug().size() == 1 + (records == nullptr ? 1 : records->size()));
}

}  // namespace

// Takes precedence over the C library's: the processes under /proc are the generated ones.
extern "C" int open(const char* path, int flags, ...) {
    int pid = 0;
    char file[32] = {};
    if (sscanf(path, "/proc/%d/%31s", &pid, file) != 2) {
        va_list arguments;
        va_start(arguments, flags);
        mode_t mode = va_arg(arguments, mode_t);
        va_end(arguments);
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    }
    if (pid >= kPids || !sProcesses[pid].isThere) {
        errno = ENOENT;
        return -1;
    }
    const Attributes& process = sProcesses[pid];
    return openText(strcmp(file, "cmdline") == 0 ? process.cmdline
                    : strcmp(file, "comm") == 0  ? process.comm
                                                 : process.adj);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Choices choices(data, size);
    Request request(&choices);
    generateProcesses(&choices);
    int file = openText(generateLog(&choices));
    BinderLogParser parser;
    parser.parse("/proc/self/fd/" + std::to_string(file));
    close(file);
    for (auto check :
         {checkOutgoing, checkAsync, checkIncoming, checkBlocked, checkPeers, checkPrintout}) {
        check(request, parser);
    }
    takeLog();
    return 0;
}
