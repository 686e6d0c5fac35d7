#include "diagnostics/AsyncTransactionReport.h"

#include "diagnostics/OutgoingTransactionReport.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// Lists a receiver that is native or Java; returns true when it is new and so to be followed.
// Unlike in the outgoing report, one that the shell started is left out.
bool addPidToList(int pid, std::vector<std::string>* javaPids,
                  std::vector<std::string>* nativePids) {
    std::string text = std::to_string(pid);
    if (isPidInLists(__func__, text, javaPids, nativePids)) {
        return false;
    }
    switch (classifyOomAdj(getOomAdjOfPid(pid))) {
        case ProcessType::Native:
            LOG_LINE(ANDROID_LOG_DEBUG, __func__, "%s is Native process", text.c_str());
            nativePids->push_back(std::move(text));
            return true;
        case ProcessType::Java:
            LOG_LINE(ANDROID_LOG_DEBUG, __func__, "%s is Java process", text.c_str());
            javaPids->push_back(std::move(text));
            return true;
        case ProcessType::Shell:
        case ProcessType::Unknown:
            break;
    }
    return false;
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
        if (addPidToList(pid, javaPids, nativePids)) {
            getBinderTransactions(pid, parser, lines, javaPids, nativePids, nullptr, nullptr,
                                  nullptr, nullptr, nullptr);
        }
    }
    return isBlocked;
}

}  // namespace android
