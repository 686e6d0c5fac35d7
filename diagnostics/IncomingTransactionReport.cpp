#include "diagnostics/IncomingTransactionReport.h"

#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kReport[] = "getBinderThreadFullInfo";

// Senders that the shell started, or of no known class, are left out.
void listSender(int pid, std::vector<std::string>* javaPids, std::vector<std::string>* nativePids) {
    std::string text = std::to_string(pid);
    switch (classifyOomAdj(getOomAdjOfPid(pid))) {
        case ProcessType::Native:
            LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is Native process", text.c_str());
            nativePids->push_back(std::move(text));
            break;
        case ProcessType::Java:
            LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is Java process", text.c_str());
            javaPids->push_back(std::move(text));
            break;
        case ProcessType::Shell:
        case ProcessType::Unknown:
            break;
    }
}

}  // namespace

void getBinderThreadFullInfo(int pid, BinderLogParser& parser, std::vector<std::string>* lines,
                             std::vector<std::string>* javaPids,
                             std::vector<std::string>* nativePids) {
    if (!requireProcess(kReport, pid, parser)) {
        return;
    }
    for (const BinderTransaction& call : parser.getProcessTransactionsByType(pid, kIncoming)) {
        std::string line = namedLine("incoming transaction", call, readCallTexts(call));
        LOG_LINE(ANDROID_LOG_DEBUG, kReport, "incoming transaction line:  %s", line.c_str());
        lines->push_back(std::move(line));
        if (call.fromPid >= 1) {
            listSender(call.fromPid, javaPids, nativePids);
        }
    }
}

}  // namespace android
