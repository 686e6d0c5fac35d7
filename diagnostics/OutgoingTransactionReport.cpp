#include "diagnostics/OutgoingTransactionReport.h"

#include "diagnostics/OutgoingWalk.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kReport[] = "getBinderTransactions";

// The lists that a caller may leave out, all or any.
struct OptionalLists {
    std::vector<std::string>* senderCmdlines;
    std::vector<std::string>* receiverCmdlines;
    std::vector<std::string>* elapsedTexts;
    std::vector<std::string>* senderPids;
    std::vector<std::string>* receiverPids;

    bool areComplete() const {
        return senderCmdlines && receiverCmdlines && elapsedTexts && senderPids && receiverPids;
    }
};

void appendOptional(const BinderTransaction& call, const CallTexts& texts,
                    const OptionalLists& lists) {
    if (!lists.areComplete()) {
        return;
    }
    lists.senderCmdlines->push_back(texts.senderCmdline);
    lists.receiverCmdlines->push_back(texts.receiverCmdline);
    lists.elapsedTexts->push_back(texts.elapsed);
    lists.senderPids->push_back(std::to_string(call.fromPid));
    lists.receiverPids->push_back(std::to_string(call.toPid));
}

// The list that a receiver of this class belongs in, or null for a process of no known class.
std::vector<std::string>* listFor(ProcessType type, const std::string& pid,
                                  const std::string& cmdline, std::vector<std::string>* javaPids,
                                  std::vector<std::string>* nativePids) {
    switch (type) {
        case ProcessType::Native:
            LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is Native process", pid.c_str());
            return nativePids;
        case ProcessType::Shell:
            LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is shell process", pid.c_str());
            return isShellJavaProcess(cmdline) ? javaPids : nativePids;
        case ProcessType::Java:
            LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is Java process", pid.c_str());
            return javaPids;
        case ProcessType::Unknown:
            break;
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kReport, "%s is Unknown process", pid.c_str());
    return nullptr;
}

bool isMainThreadBlocked(const BinderTransaction& call, int receiverAdj) {
    bool mayBlock = receiverAdj == kOomAdjNative || receiverAdj == kOomAdjSystem;
    return mayBlock && isLongMainThreadCall(call);
}

}  // namespace

bool getBinderTransactions(int pid, BinderLogParser& parser, std::vector<std::string>* lines,
                           std::vector<std::string>* javaPids, std::vector<std::string>* nativePids,
                           std::vector<std::string>* senderCmdlines,
                           std::vector<std::string>* receiverCmdlines,
                           std::vector<std::string>* elapsedTexts,
                           std::vector<std::string>* senderPids,
                           std::vector<std::string>* receiverPids) {
    OptionalLists optional = {senderCmdlines, receiverCmdlines, elapsedTexts, senderPids,
                              receiverPids};
    bool isBlocked = false;
    auto enter = [&](int each) { return requireProcess(kReport, each, parser); };
    auto visit = [&](int sender, const BinderTransaction& call, bool isStart) {
        CallTexts texts = readCallTexts(call);
        std::string line = namedLine("outgoing transaction", call, texts);
        LOG_LINE(ANDROID_LOG_DEBUG, kReport, "transaction line:  %s", line.c_str());
        lines->push_back(std::move(line));
        appendOptional(call, texts, optional);

        std::string receiver = std::to_string(call.toPid);
        if (isPidInLists(kReport, receiver, javaPids, nativePids) || !leadsOn(sender, call)) {
            return kFollowNobody;
        }
        int adj = getOomAdjOfPid(call.toPid);
        LOG_LINE(ANDROID_LOG_DEBUG, kReport, "adj is %d", adj);
        std::vector<std::string>* list =
                listFor(classifyOomAdj(adj), receiver, texts.receiverCmdline, javaPids, nativePids);
        if (list == nullptr) {
            return kFollowNobody;
        }
        // Only the first process's own calls count, and only while their receiver is new: a
        // second call to the same receiver was sent away above.
        isBlocked = isBlocked || (isStart && isMainThreadBlocked(call, adj));
        list->push_back(std::move(receiver));
        return call.toPid;
    };
    walkOutgoing(pid, parser, enter, visit);
    return isBlocked;
}

}  // namespace android
