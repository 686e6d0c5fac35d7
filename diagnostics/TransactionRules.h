#ifndef STALLSCOPE_DIAGNOSTICS_TRANSACTIONRULES_H
#define STALLSCOPE_DIAGNOSTICS_TRANSACTIONRULES_H

#include "binderlog/BinderLogParser.h"

namespace android {

// What the reports have in common.

// False, with a logged error in the name of `function`, when the log has no section for pid.
bool requireProcess(const char* function, int pid, const BinderLogParser& parser);

// True when the receiver may be followed at all: the call is pid's own and goes to another process.
bool leadsOn(int pid, const BinderTransaction& call);

// True when the sender's main thread sent the call and it has lasted for more than two seconds.
bool isLongMainThreadCall(const BinderTransaction& call);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_TRANSACTIONRULES_H
