// The process in which the library runs one capture (see Client.cpp):
//     debuggerd_capture KIND TID DEADLINE_NS PARENT_PID
// The dump goes to descriptor 1, one byte of result to descriptor 3.

#include <debuggerd/client.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "host/debuggerd/CaptureResult.h"
#include "host/debuggerd/Deadline.h"
#include "host/debuggerd/DumpFile.h"
#include "host/debuggerd/JavaThreadDump.h"
#include "host/debuggerd/NativeBacktrace.h"
#include "host/debuggerd/ProcFile.h"

using debuggerd::CaptureResult;

namespace {

constexpr int kResultFd = 3;

CaptureResult capture(int kind, pid_t tid, const debuggerd::Deadline& deadline) {
    debuggerd::DumpFile out(STDOUT_FILENO, deadline);
    pid_t pid = debuggerd::processOf(tid);
    if (pid == 0) {
        return CaptureResult::kNoSuchProcess;
    }
    switch (kind) {
        case kDebuggerdNativeBacktrace:
            return debuggerd::dumpNativeBacktrace(pid, deadline, &out);
        case kDebuggerdJavaBacktrace:
            return debuggerd::dumpJavaThreads(pid, deadline, &out);
        default:
            return CaptureResult::kUnsupported;
    }
}

// Nobody waits for the dump any more once the process that asked for it has gone.
bool dieWithParent(pid_t parent) {
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5 || fcntl(kResultFd, F_SETFD, FD_CLOEXEC) != 0 || !dieWithParent(atoi(argv[4]))) {
        return EXIT_FAILURE;
    }
    // A failed write is a result to report.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    CaptureResult result = capture(atoi(argv[1]), atoi(argv[2]),
                                   debuggerd::Deadline::fromNanoseconds(atoll(argv[3])));
    bool reported = write(kResultFd, &result, sizeof(result)) == sizeof(result);
    // Without destructors: the result is out, and what is still traced is released either way.
    _exit(reported ? EXIT_SUCCESS : EXIT_FAILURE);
}
