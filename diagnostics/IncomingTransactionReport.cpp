#include "diagnostics/IncomingTransactionReport.h"

#include "diagnostics/PidLists.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ReportLine.h"
#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

void getBinderThreadFullInfo(int pid, BinderLogParser& parser, std::vector<std::string>* lines,
                             std::vector<std::string>* javaPids,
                             std::vector<std::string>* nativePids) {
    if (!requireProcess(__func__, pid, parser)) {
        return;
    }
    for (const BinderTransaction& call : parser.getProcessTransactionsByType(pid, kIncoming)) {
        std::string line = namedLine("incoming transaction", call, readCallTexts(call));
        LOG_LINE(ANDROID_LOG_DEBUG, __func__, "incoming transaction line:  %s", line.c_str());
        lines->push_back(std::move(line));
        if (call.fromPid >= 1) {
            // Once for each of its calls; one that the shell started is left out.
            ProcessType type = classifyOomAdj(getOomAdjOfPid(call.fromPid));
            addPid(__func__, std::to_string(call.fromPid), type, nullptr, {javaPids, nativePids});
        }
    }
}

}  // namespace android
