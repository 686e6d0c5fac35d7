#ifndef STALLSCOPE_HOST_DEBUGGERD_NATIVEBACKTRACE_H
#define STALLSCOPE_HOST_DEBUGGERD_NATIVEBACKTRACE_H

#include <sys/types.h>

#include "host/debuggerd/CaptureResult.h"
#include "host/debuggerd/Deadline.h"
#include "host/debuggerd/DumpFile.h"

namespace debuggerd {

// Dumps the native stack of every thread of a process. Threads that exit meanwhile are left out;
// for those that can't be stopped in time or traced a remark stands in place of the frames, and
// the result is not kCaptured. A second capture of the same process waits for the first.
CaptureResult dumpNativeBacktrace(pid_t pid, const Deadline& deadline, DumpFile* out);

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_NATIVEBACKTRACE_H
