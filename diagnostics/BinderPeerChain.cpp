#include "diagnostics/BinderPeerChain.h"

#include <log/log.h>

#include "diagnostics/OutgoingWalk.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TextList.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// Whether the log has a section for pid; says which in the system log.
bool announceProcess(int pid, const BinderLogParser& parser, const std::string& tag) {
    bool hasSection = parser.hasProcess(pid);
    const char* format = hasSection ? "Pid %d Binder Info" : "No transactions found for pid %d";
    __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_WARN, tag.c_str(), format, pid);
    return hasSection;
}

}  // namespace

void getBinderToProcess(int pid, BinderLogParser& parser, const std::string& tag,
                        std::vector<std::string>* peerPids, std::vector<std::string>* peerCmdlines,
                        std::vector<std::string>* lines) {
    const char* function = __func__;
    auto enter = [&](int each) { return announceProcess(each, parser, tag); };
    auto visit = [&](int sender, const BinderTransaction& call, bool /*isStart*/) {
        CallTexts texts = readCallTexts(call);
        std::string line = namedLine("outgoing transaction", call, texts);
        __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_WARN, tag.c_str(), "%s", line.c_str());
        lines->push_back(std::move(line));

        std::string receiver = std::to_string(call.toPid);
        if (containsText(*peerPids, receiver) ||
            containsText(*peerCmdlines, texts.receiverCmdline)) {
            LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is in list", receiver.c_str());
            return kFollowNobody;
        }
        if (!leadsOn(sender, call)) {
            return kFollowNobody;
        }
        peerPids->push_back(std::move(receiver));
        peerCmdlines->push_back(std::move(texts.receiverCmdline));
        return call.toPid;
    };
    walkOutgoing(pid, parser, enter, visit);
}

}  // namespace android
