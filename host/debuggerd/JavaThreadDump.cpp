#include "host/debuggerd/JavaThreadDump.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <unwindstack/Regs.h>

#include <string>

#include "host/debuggerd/Abi.h"
#include "host/debuggerd/ProcFile.h"

namespace debuggerd {

namespace {

using android::base::unique_fd;

bool catches(const std::string& status, int signal) {
    unsigned long long caught = strtoull(statusField(status, "SigCgt").c_str(), nullptr, 16);
    return (caught >> (signal - 1) & 1) != 0;
}

// The attach mechanism sends SIGQUIT. That ends whatever doesn't handle it: processes other than
// JVMs, JVMs that are still starting and JVMs run with -Xrs. A JVM without the attach mechanism
// survives it, but prints the dump to its own output.
bool canAttachTo(pid_t pid) {
    std::string status = readProcFile(procPath(pid, "status"));
    std::string state = statusField(status, "State");
    bool runs = !state.empty() && std::string("TtZX").find(state[0]) == std::string::npos;
    return runs && catches(status, SIGQUIT) &&
           readProcFile(procPath(pid, "maps")).find("/libjvm.so") != std::string::npos &&
           commandLine(pid).find("-XX:+DisableAttachMechanism") == std::string::npos;
}

[[noreturn]] void runJattach(pid_t pid, const Deadline& deadline, int outputFd) {
    // jattach takes on the user of the JVM, and then the kernel forgets the signal for the
    // parent's death. The alarm outlives both that and exec.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(1 + deadline.pollTimeout() / 1000);
    dup2(outputFd, STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    execlp("jattach", "jattach", std::to_string(pid).c_str(), "threaddump", nullptr);
    _exit(127);
}

// A killed jattach leaves the file by which the JVM tells the request to attach from the request
// to print a thread dump to its own output, which is what SIGQUIT means otherwise.
void removeAttachRequest(pid_t pid) {
    std::string ids = statusField(readProcFile(procPath(pid, "status")), "NSpid");
    std::string file = "/.attach_pid" + ids.substr(ids.rfind('\t') + 1);
    unlink((procPath(pid, "cwd") + file).c_str());
    unlink((procPath(pid, "root/tmp") + file).c_str());
}

class JavaThreadDump {
  public:
    JavaThreadDump(pid_t pid, const Deadline& deadline, DumpFile* out)
          : mPid(pid), mDeadline(deadline), mOut(out) {}

    CaptureResult dump();

  private:
    CaptureResult copyReply(int fd);
    bool copyLines(const char* text, size_t size);

    pid_t mPid;
    Deadline mDeadline;
    DumpFile* mOut;
    std::string mPreamble;
    bool mBegun = false;
};

CaptureResult JavaThreadDump::dump() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return CaptureResult::kBroken;
    }
    unique_fd readEnd(ends[0]);
    unique_fd writeEnd(ends[1]);
    pid_t child = fork();
    if (child == 0) {
        runJattach(mPid, mDeadline, writeEnd.get());
    }
    writeEnd.reset();
    CaptureResult result = child == -1 ? CaptureResult::kBroken : copyReply(readEnd.get());
    if (result != CaptureResult::kCaptured && child != -1) {
        kill(child, SIGKILL);
        TEMP_FAILURE_RETRY(waitpid(child, nullptr, 0));
        removeAttachRequest(mPid);
    }
    if (mBegun) {
        mOut->end(mPid);
    }
    return mOut->flush() ? result : CaptureResult::kWriteFailed;
}

CaptureResult JavaThreadDump::copyReply(int fd) {
    char buffer[16 * 1024];
    pollfd reply = {fd, POLLIN, 0};
    while (TEMP_FAILURE_RETRY(poll(&reply, 1, mDeadline.pollTimeout())) == 1) {
        ssize_t size = TEMP_FAILURE_RETRY(read(fd, buffer, sizeof(buffer)));
        if (size <= 0) {
            return mBegun ? CaptureResult::kCaptured : CaptureResult::kJvmFailed;
        }
        if (!copyLines(buffer, size)) {
            return CaptureResult::kJvmFailed;
        }
    }
    return CaptureResult::kTimedOut;
}

// Leaves out what jattach itself says ahead of the dump; false when that isn't a success.
bool JavaThreadDump::copyLines(const char* text, size_t size) {
    static const std::string kSuccess = "Connected to remote JVM\nJVM response code = 0\n";
    if (mBegun) {
        mOut->append({text, size});
        return true;
    }
    mPreamble.append(text, size);
    if (mPreamble.size() < kSuccess.size()) {
        return kSuccess.compare(0, mPreamble.size(), mPreamble) == 0;
    }
    if (mPreamble.compare(0, kSuccess.size(), kSuccess) != 0) {
        return false;
    }
    mBegun = true;
    mOut->begin(mPid, abiName(unwindstack::Regs::CurrentArch()));
    mOut->append("\n" + mPreamble.substr(kSuccess.size()));
    return true;
}

}  // namespace

CaptureResult dumpJavaThreads(pid_t pid, const Deadline& deadline, DumpFile* out) {
    return canAttachTo(pid) ? JavaThreadDump(pid, deadline, out).dump() : CaptureResult::kNotJvm;
}

}  // namespace debuggerd
