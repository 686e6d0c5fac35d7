#ifndef STALLSCOPE_HOST_DEBUGGERD_JAVATHREADDUMP_H
#define STALLSCOPE_HOST_DEBUGGERD_JAVATHREADDUMP_H

#include <sys/types.h>

#include "host/debuggerd/CaptureResult.h"
#include "host/debuggerd/Deadline.h"
#include "host/debuggerd/DumpFile.h"

namespace debuggerd {

// Has a HotSpot JVM print its threads. kNotJvm, without having touched the process, unless it is
// certain that the process is one, is ready for it and isn't stopped.
CaptureResult dumpJavaThreads(pid_t pid, const Deadline& deadline, DumpFile* out);

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_JAVATHREADDUMP_H
