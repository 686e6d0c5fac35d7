#include "diagnostics/OutgoingTransactionReport.h"

#include "diagnostics/OutgoingWalk.h"
#include "diagnostics/PidLists.h"
#include "diagnostics/ProcessAttributes.h"
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

// Takes the texts away but for the receiver's command line, which is still to be looked at.
void appendOptional(const BinderTransaction& call, CallTexts* texts, const OptionalLists& lists) {
    if (!lists.areComplete()) {
        return;
    }
    lists.senderCmdlines->push_back(std::move(texts->senderCmdline));
    lists.receiverCmdlines->push_back(texts->receiverCmdline);
    lists.elapsedTexts->push_back(std::move(texts->elapsed));
    lists.senderPids->push_back(std::to_string(call.fromPid));
    lists.receiverPids->push_back(std::to_string(call.toPid));
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
    PidLists lists = {javaPids, nativePids};
    bool isBlocked = false;
    auto enter = [&](int each) { return requireProcess(kReport, each, parser); };
    auto visit = [&](int sender, const BinderTransaction& call, bool isStart) {
        CallTexts texts = readCallTexts(call);
        std::string line = namedLine("outgoing transaction", call, texts);
        LOG_LINE(ANDROID_LOG_DEBUG, kReport, "transaction line:  %s", line.c_str());
        lines->push_back(std::move(line));
        appendOptional(call, &texts, optional);

        std::string receiver = std::to_string(call.toPid);
        if (isPidInLists(kReport, receiver, lists) || !leadsOn(sender, call)) {
            return kFollowNobody;
        }
        int adj = getOomAdjOfPid(call.toPid);
        LOG_LINE(ANDROID_LOG_DEBUG, kReport, "adj is %d", adj);
        if (!addPid(kReport, receiver, classifyOomAdj(adj), &texts.receiverCmdline, lists)) {
            return kFollowNobody;
        }
        // Only the first process's own calls count, and only while their receiver is new: a
        // second call to the same receiver was sent away above.
        isBlocked = isBlocked || (isStart && isMainThreadBlocked(call, adj));
        return call.toPid;
    };
    walkOutgoing(pid, parser, enter, visit);
    return isBlocked;
}

}  // namespace android
