#ifndef STALLSCOPE_DIAGNOSTICS_INCOMINGTRANSACTIONREPORT_H
#define STALLSCOPE_DIAGNOSTICS_INCOMINGTRANSACTIONREPORT_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// Who is waiting on pid? Appends one line to `lines` for each incoming transaction of pid, and its
// sender to `javaPids` or `nativePids`, once for every transaction that it has. Follows nobody.
void getBinderThreadFullInfo(int pid, BinderLogParser& parser, std::vector<std::string>* lines,
                             std::vector<std::string>* javaPids,
                             std::vector<std::string>* nativePids);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_INCOMINGTRANSACTIONREPORT_H
