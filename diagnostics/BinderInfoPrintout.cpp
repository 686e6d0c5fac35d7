#include "diagnostics/BinderInfoPrintout.h"

#include <log/log.h>

#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"

namespace android {

void printfBinderInfo(int pid, BinderLogParser& parser, const std::string& tag) {
    __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_WARN, tag.c_str(), "Pid %d Binder Info",
                            pid);
    if (!requireProcess(__func__, pid, parser)) {
        return;
    }
    const std::vector<BinderTransaction>* transactions = parser.getProcessTransactions(pid);
    // Unreachable behind the check above; kept, so that the printout stands for itself.
    if (transactions == nullptr) {
        __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_WARN, tag.c_str(),
                                "No transactions found for pid %d", pid);
        return;
    }
    for (const BinderTransaction& transaction : *transactions) {
        __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_WARN, tag.c_str(), "%s",
                                plainLine(transaction).c_str());
    }
}

}  // namespace android
