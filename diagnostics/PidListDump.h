#ifndef STALLSCOPE_DIAGNOSTICS_PIDLISTDUMP_H
#define STALLSCOPE_DIAGNOSTICS_PIDLISTDUMP_H

#include <string>
#include <vector>

namespace android {

// Replaces `file` by the line `subject`, then appends the stacks of each pid, in order, as long as
// the 20 seconds for all of them last. Failures are only logged.
void dumpTraceForAllProcess(const std::vector<int>& pids, const std::string& subject,
                            const std::string& file);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_PIDLISTDUMP_H
