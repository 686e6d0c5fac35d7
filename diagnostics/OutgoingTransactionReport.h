#ifndef STALLSCOPE_DIAGNOSTICS_OUTGOINGTRANSACTIONREPORT_H
#define STALLSCOPE_DIAGNOSTICS_OUTGOINGTRANSACTIONREPORT_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// On whom is pid waiting? Appends one line to `lines` for each outgoing transaction of pid and,
// depth first, of the processes that it waits on, and their pids to `javaPids` and `nativePids`,
// each once. Reads cmdline, comm and oom_score_adj of the processes met.
//
// The last five lists run parallel to `lines`; they are filled only when none of them is null.
// Returns true when pid's main thread has been blocked for more than two seconds in a call into a
// native process or the system server; calls further down the chain don't count.
bool getBinderTransactions(int pid, BinderLogParser& parser, std::vector<std::string>* lines,
                           std::vector<std::string>* javaPids, std::vector<std::string>* nativePids,
                           std::vector<std::string>* senderCmdlines,
                           std::vector<std::string>* receiverCmdlines,
                           std::vector<std::string>* elapsedTexts,
                           std::vector<std::string>* senderPids,
                           std::vector<std::string>* receiverPids);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_OUTGOINGTRANSACTIONREPORT_H
