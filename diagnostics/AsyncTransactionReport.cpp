#include "diagnostics/AsyncTransactionReport.h"

#include "diagnostics/OutgoingTransactionReport.h"
#include "diagnostics/PidLists.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// Lists a receiver that is native or Java; returns true when it is new and so to be followed.
// Unlike in the outgoing report, one that the shell started is left out.
bool addPidToList(int pid, const PidLists& lists) {
    std::string text = std::to_string(pid);
    return !isPidInLists(__func__, text, lists) &&
           addPid(__func__, text, classifyOomAdj(getOomAdjOfPid(pid)), nullptr, lists);
}

}  // namespace

bool getAsyncBinderTransactions(int anrFromPid, int pid, BinderLogParser& parser,
                                std::vector<std::string>* lines, std::vector<std::string>* javaPids,
                                std::vector<std::string>* nativePids) {
    if (!requireProcess(__func__, pid, parser)) {
        return false;
    }
    bool isBlocked = false;
    for (const BinderTransaction& call : parser.getProcessTransactionsByType(pid, kPendingAsync)) {
        std::string line = namedLine("pending async transaction", call, readCallTexts(call));
        LOG_LINE(ANDROID_LOG_DEBUG, __func__, "Aync transaction line:  %s", line.c_str());
        if (call.fromPid != anrFromPid || call.toPid != pid) {
            continue;
        }
        lines->push_back(std::move(line));
        isBlocked = isBlocked || isLongMainThreadCall(call);
        if (addPidToList(pid, {javaPids, nativePids})) {
            getBinderTransactions(pid, parser, lines, javaPids, nativePids, nullptr, nullptr,
                                  nullptr, nullptr, nullptr);
        }
    }
    return isBlocked;
}

}  // namespace android
