#ifndef STALLSCOPE_DIAGNOSTICS_FDINSPECTION_H
#define STALLSCOPE_DIAGNOSTICS_FDINSPECTION_H

#include <string>

namespace android {

// The number of entries in /proc/<pid>/fd, "." and ".." included: the open descriptors plus 2.
// -1, with a logged error, when the directory can't be opened.
int getFdAmount(int pid);

// Replaces `file` by one line for each open descriptor of pid, "/proc/<pid>/fd/3 -> target", in
// directory order, and forces it to storage. Leaves `file` alone when /proc/<pid>/fd can't be
// opened. Failures are only logged.
void writeFdInfoToFile(const std::string& file, int pid);

// Forces what was written to `file` to storage. Failures are only logged.
void syncFile(const std::string& file);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_FDINSPECTION_H
