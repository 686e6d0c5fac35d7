#include "diagnostics/BlockedCallCheck.h"

#include "diagnostics/OutgoingWalk.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TextList.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kCheck[] = "checkBinderTransactions";

// Whether a long call of a main thread goes to a process that it should never wait long for.
bool isBlockingReceiver(const BinderTransaction& call) {
    int adj = getOomAdjOfPid(call.toPid);
    if (adj == kOomAdjNative) {
        LOG_LINE(ANDROID_LOG_DEBUG, kCheck, "Pid(%d) Binder Call Native Process Pid(%d) Blocked",
                 call.fromPid, call.toPid);
        return true;
    }
    if (adj == kOomAdjSystem) {
        LOG_LINE(ANDROID_LOG_DEBUG, kCheck, "Pid(%d) Binder Call System_Server Pid(%d) Blocked",
                 call.fromPid, call.toPid);
        return true;
    }
    return false;
}

// False when pid has been visited before.
bool visitOnce(int pid, std::vector<std::string>* visitedPids) {
    std::string text = std::to_string(pid);
    if (containsText(*visitedPids, text)) {
        return false;
    }
    visitedPids->push_back(std::move(text));
    return true;
}

}  // namespace

bool checkBinderTransactions(int pid, BinderLogParser& parser, int thresholdSecs,
                             std::vector<std::string>* lines,
                             std::vector<std::string>* visitedPids) {
    const double threshold = thresholdSecs;
    bool isBlocked = false;
    auto enter = [&](int each) { return requireProcess(kCheck, each, parser); };
    auto visit = [&](int sender, const BinderTransaction& call, bool isStart) {
        std::string line = plainLine(call);
        LOG_LINE(ANDROID_LOG_DEBUG, kCheck, "transaction :  %s", line.c_str());
        lines->push_back(std::move(line));
        if (!leadsOn(sender, call) || !(call.elapsed > threshold)) {
            return kFollowNobody;
        }
        // Asked for followed processes too: the debug log names every stuck main thread.
        if (sender == call.fromTid && isBlockingReceiver(call) && isStart) {
            isBlocked = true;
        }
        return visitOnce(call.toPid, visitedPids) ? call.toPid : kFollowNobody;
    };
    walkOutgoing(pid, parser, enter, visit);
    return isBlocked;
}

}  // namespace android
