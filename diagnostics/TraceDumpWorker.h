#ifndef STALLSCOPE_DIAGNOSTICS_TRACEDUMPWORKER_H
#define STALLSCOPE_DIAGNOSTICS_TRACEDUMPWORKER_H

#include <string>
#include <vector>

namespace android {

// What the thread of a dump job works on; it shares nothing with other jobs.
struct TraceDumpTask {
    std::vector<std::string> javaPids;  // peers from the binder report, as decimal text
    std::vector<std::string> nativePids;
    std::vector<std::string> names;  // command lines of further processes
    std::string file;
    bool withBinderInfo = false;
};

// Captures the stacks of everybody in the task into its file, each process once, then prunes the
// file's directory. The whole of a dump job's thread.
void runTraceDump(const TraceDumpTask& task);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_TRACEDUMPWORKER_H
