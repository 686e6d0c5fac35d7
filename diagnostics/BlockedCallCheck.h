#ifndef STALLSCOPE_DIAGNOSTICS_BLOCKEDCALLCHECK_H
#define STALLSCOPE_DIAGNOSTICS_BLOCKEDCALLCHECK_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// Is pid's main thread stuck? True when it has been for longer than thresholdSecs in a call into a
// native process or the system server. Appends one line to `lines` for each outgoing transaction of
// pid and of the receivers that were called for longer than that, and the pids of these receivers
// to `visitedPids`; one that stands there already is not followed.
bool checkBinderTransactions(int pid, BinderLogParser& parser, int thresholdSecs,
                             std::vector<std::string>* lines,
                             std::vector<std::string>* visitedPids);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_BLOCKEDCALLCHECK_H
