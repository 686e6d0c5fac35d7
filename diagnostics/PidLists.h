#ifndef STALLSCOPE_DIAGNOSTICS_PIDLISTS_H
#define STALLSCOPE_DIAGNOSTICS_PIDLISTS_H

#include <string>
#include <vector>

#include "diagnostics/ProcessClassification.h"

namespace android {

// The two lists that a report sorts the processes it meets into, as decimal pids. Both belong to
// the caller, who may leave either out (null).
struct PidLists {
    std::vector<std::string>* javaPids = nullptr;
    std::vector<std::string>* nativePids = nullptr;
};

// True when the pid is in one of the lists; then says so in the debug log in the name of
// `function`.
bool isPidInLists(const char* function, const std::string& pid, const PidLists& lists);

// Appends the pid to the list of its class and names the class in the debug log in the name of
// `function`. False when the class has no list. A process that the shell started is sorted by
// `shellCmdline`; where that is null, it is left out like one of unknown class, both in silence.
bool addPid(const char* function, const std::string& pid, ProcessType type,
            const std::string* shellCmdline, const PidLists& lists);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_PIDLISTS_H
