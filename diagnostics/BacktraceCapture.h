#ifndef STALLSCOPE_DIAGNOSTICS_BACKTRACECAPTURE_H
#define STALLSCOPE_DIAGNOSTICS_BACKTRACECAPTURE_H

#include <debuggerd/client.h>

#include <string>

namespace android {

// One capture of pid's stacks, appended to `file`, which is created if missing; a symbolic link is
// refused. The debugger daemon gets timeoutSecs. True when it reported success; every failure is
// logged.
bool dumpTraces(int pid, const std::string& file, int timeoutSecs, DebuggerdDumpType type);

// The capture that suits pid's class, appended to `file`: native for a native process; Java, then
// native if that failed, for a Java process; none for any other. All attempts together get
// timeoutSecs. True when one succeeded. Reads oom_score_adj.
bool dumpBacktraceToFileTimeout(int pid, int timeoutSecs, const std::string& file);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_BACKTRACECAPTURE_H
