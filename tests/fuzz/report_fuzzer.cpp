#include <android-base/stringprintf.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "diagnostics/AsyncTransactionReport.h"
#include "diagnostics/BinderInfoPrintout.h"
#include "diagnostics/BinderPeerChain.h"
#include "diagnostics/BlockedCallCheck.h"
#include "diagnostics/IncomingTransactionReport.h"
#include "diagnostics/OutgoingTransactionReport.h"
#include "tests/fuzz/Choices.h"
#include "tests/support/LogCapture.h"

// What holds of the reports on every graph of calls between a few processes with random attributes:
// chains, cycles, processes that call themselves or have gone.

namespace {

using namespace android;
using namespace android::test;

constexpr int kPids = 7;  // 0 to 6
// By the names of their files; none of a process that has gone.
std::map<std::string, std::string> sProcesses[kPids];

void require(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}
#define REQUIRE(condition) require(condition, #condition)

int openText(const std::string& text) {
    int file = memfd_create("text", MFD_CLOEXEC);
    REQUIRE(pwrite(file, text.data(), text.size(), 0) == ssize_t(text.size()));
    return file;
}

void generateProcesses(Choices* choices) {
    constexpr const char* kCmdlines[] = {
            "com.app", "system_server", "", "x", "/system/bin/sh", "com.android.commands.monkey"};
    constexpr const char* kAdjs[] = {"-1000\n", "-950\n", "-900\n", "0\n", "1000",
                                     "1001",    "-901",   "",       "x",   "99999999999"};
    for (auto& files : sProcesses) {
        files.clear();
        if (!choices->oneIn(5)) {
            files["cmdline"] = choices->among(kCmdlines) + std::string("\0argument", 9);
            files["comm"] = choices->oneIn(2) ? "thread\nname" : "";
            files["oom_score_adj"] = choices->among(kAdjs);
        }
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
            log += base::StringPrintf(
                    "  %s transaction 71: 0000 from %d:%d to %d:%d code %d elapsed %dms\n",
                    choices->among(kTypes), choices->oneIn(4) ? choices->below(kPids) : section,
                    choices->below(kPids), choices->below(kPids), choices->below(kPids),
                    choices->below(9), choices->among(kElapsed));
        }
    }
    return log;
}

// The lines of a report, two lists of pids or names, and what else the outgoing report has.
using Lists = std::array<Texts, 8>;

struct Request {
    explicit Request(Choices* choices)
          : pid(choices->below(kPids)),
            anrFromPid(choices->below(kPids)),
            thresholdSecs(static_cast<int>(choices->below(6)) - 1) {
        lists[0] = {"first"};
        for (Texts* list : {&lists[1], &lists[2]}) {
            if (choices->oneIn(4)) {
                *list = {std::to_string(choices->below(kPids))};
            }
        }
    }

    int pid;
    int anrFromPid;
    int thresholdSecs;
    Lists lists;  // a client may pass them filled
};

struct Report {
    void (*run)(const Request&, BinderLogParser&, Lists& l);
    const char* first;     // the type of the records that it begins with
    size_t followedLists;  // that many lists tell whom it followed
};
const Report kReports[] = {
        {[](const Request& r, BinderLogParser& parser, Lists& l) {
             getBinderTransactions(r.pid, parser, &l[0], &l[1], &l[2], &l[3], &l[4], &l[5], &l[6],
                                   &l[7]);
         },
         kOutgoing, 2},
        {[](const Request& r, BinderLogParser& parser, Lists& l) {
             getAsyncBinderTransactions(r.anrFromPid, r.pid, parser, &l[0], &l[1], &l[2]);
         },
         kPendingAsync, 2},
        {[](const Request& r, BinderLogParser& parser, Lists& l) {
             checkBinderTransactions(r.pid, parser, r.thresholdSecs, &l[0], &l[1]);
         },
         kOutgoing, 1},
        {[](const Request& r, BinderLogParser& parser, Lists& l) {
             getBinderToProcess(r.pid, parser, "tag", &l[1], &l[2], &l[0]);
         },
         kOutgoing, 1},
        {[](const Request& r, BinderLogParser& parser, Lists& l) {
             getBinderThreadFullInfo(r.pid, parser, &l[0], &l[1], &l[2]);
         },
         kIncoming, 0}};

// The own calls of a process, or the pending ones that an asynchronous report is about.
size_t countCalls(int pid, const char* type, const Request& request,
                  const BinderLogParser& parser) {
    const auto calls = parser.getProcessTransactionsByType(pid, type);
    return std::count_if(calls.begin(), calls.end(), [&](const BinderTransaction& call) {
        return type != kPendingAsync || (call.fromPid == request.anrFromPid && call.toPid == pid);
    });
}

void check(const Report& report, const Request& request, BinderLogParser& parser) {
    Lists lists = request.lists;
    report.run(request, parser, lists);
    size_t expectedLines = countCalls(request.pid, report.first, request, parser);
    Texts followed, listed;
    for (size_t i = 0; i < lists.size(); ++i) {
        const Texts& former = request.lists[i];
        REQUIRE(lists[i].size() >= former.size());
        REQUIRE(std::equal(former.begin(), former.end(), lists[i].begin()));
        if (i >= 1 && i <= report.followedLists) {
            followed.insert(followed.end(), lists[i].begin() + former.size(), lists[i].end());
            listed.insert(listed.end(), lists[i].begin(), lists[i].end());
        } else if (i >= 3) {
            REQUIRE(lists[i].empty() || lists[i].size() == lists[0].size() - 1);
        }
    }
    // Each followed process is listed once, and each of its calls has a line.
    for (const std::string& pid : followed) {
        REQUIRE(std::count(listed.begin(), listed.end(), pid) == 1);
        expectedLines += countCalls(std::stoi(pid), kOutgoing, request, parser);
    }
    REQUIRE(lists[0].size() - 1 == expectedLines);
}

// The header, and either the entries or one error.
void checkPrintout(const Request& request, BinderLogParser& parser) {
    takeLog();
    printfBinderInfo(request.pid, parser, "tag");
    const auto* records = parser.getProcessTransactions(request.pid);
    REQUIRE(takeLogWithoutDebug().size() == 1 + (records == nullptr ? 1 : records->size()));
}

}  // namespace

// Takes precedence over the C library's: the processes under /proc are the generated ones.
extern "C" int open(const char* path, int flags, ...) {
    int pid = 0;
    char file[32] = {};
    if (sscanf(path, "/proc/%d/%31s", &pid, file) != 2) {
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, 0600));
    }
    if (pid >= kPids || sProcesses[pid].count(file) == 0) {
        errno = ENOENT;
        return -1;
    }
    return openText(sProcesses[pid][file]);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Choices choices(data, size);
    Request request(&choices);
    generateProcesses(&choices);
    int file = openText(generateLog(&choices));
    BinderLogParser parser;
    parser.parse("/proc/self/fd/" + std::to_string(file));
    close(file);
    for (const Report& report : kReports) {
        check(report, request, parser);
    }
    checkPrintout(request, parser);
    return 0;
}
