#ifndef STALLSCOPE_DIAGNOSTICS_ASYNCTRANSACTIONREPORT_H
#define STALLSCOPE_DIAGNOSTICS_ASYNCTRANSACTIONREPORT_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// Which one-way calls from anrFromPid still wait in pid's queue? Appends one line to `lines` for
// each. Behind the first of them, unless pid is listed already or is neither Java nor native, pid
// is added to `javaPids` or `nativePids` and OutgoingTransactionReport.h reports on it. Returns
// true when one of them was sent by anrFromPid's main thread and has waited for more than two
// seconds.
bool getAsyncBinderTransactions(int anrFromPid, int pid, BinderLogParser& parser,
                                std::vector<std::string>* lines, std::vector<std::string>* javaPids,
                                std::vector<std::string>* nativePids);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_ASYNCTRANSACTIONREPORT_H
