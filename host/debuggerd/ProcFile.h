#ifndef STALLSCOPE_HOST_DEBUGGERD_PROCFILE_H
#define STALLSCOPE_HOST_DEBUGGERD_PROCFILE_H

#include <sys/types.h>

#include <string>

namespace debuggerd {

// "/proc/PID/NAME".
std::string procPath(pid_t pid, const char* name);
// "/proc/PID/task/TID/NAME".
std::string taskPath(pid_t pid, pid_t tid, const char* name);

// The whole file, empty when it can't be read: the process may vanish at any time.
std::string readProcFile(const std::string& path);

// The value of a line "NAME:\tVALUE" of a status file; empty when there is none.
std::string statusField(const std::string& status, const std::string& name);

// The process that a thread belongs to, 0 when there is no such thread.
pid_t processOf(pid_t tid);

// A process's arguments joined by blanks, in one line whatever they contain.
std::string commandLine(pid_t pid);

// Replaces control characters by blanks: no name can pretend to be a line of the dump.
std::string oneLine(std::string text);

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_PROCFILE_H
