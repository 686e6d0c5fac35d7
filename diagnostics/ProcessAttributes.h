#ifndef STALLSCOPE_DIAGNOSTICS_PROCESSATTRIBUTES_H
#define STALLSCOPE_DIAGNOSTICS_PROCESSATTRIBUTES_H

#include <string>

namespace android {

// Each call reads its file anew. A file that can't be opened is logged and gives the default.

// The first element of /proc/<pid>/cmdline: the program's name, or the name that the process gave
// itself. "unknown" when it can't be opened, empty for a kernel thread or a zombie.
std::string getProcessCmdline(int pid);

// /proc/<pid>/comm, for a process or, given a thread id, for a thread. "unknown" when it can't be
// opened.
std::string getProcessComm(int pid);

// /proc/<pid>/oom_score_adj. -1000 when it can't be read, which makes a process that has exited a
// native one everywhere.
int getOomAdjOfPid(int pid);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_PROCESSATTRIBUTES_H
