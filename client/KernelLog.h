#ifndef STALLSCOPE_CLIENT_KERNELLOG_H
#define STALLSCOPE_CLIENT_KERNELLOG_H

#include <string>
#include <string_view>

#include "client/Output.h"

namespace android {

inline constexpr char kKernelLog[] = "/dev/binderfs/binder_logs/transactions";

// True when the kernel may have dropped the rest of this log: its buffer has 4096 bytes times a
// power of two, and where it runs full at a header that is then taken back, the kernel takes what
// it has for all. Such a log is shorter than the buffer by at most a line.
bool mayBeCut(std::string_view log);

// Adds a note to the report when the log at `path` may be cut. The daemon answers from that file
// and can't tell. Silent where this process must not read it.
void noteCutLog(const std::string& path, Report* report);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_KERNELLOG_H
