#ifndef STALLSCOPE_TESTS_PLATFORMFAKES_H
#define STALLSCOPE_TESTS_PLATFORMFAKES_H

#include <debuggerd/client.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace android::test {

// Nothing in the daemon catches an exception, but the test framework would: runs `work` as the
// daemon would, where one that gets out ends the process.
template <typename Work>
void runAsDaemon(Work work) noexcept {
    work();
}

// The steady clock stands still from the first step on, but for these steps, until it is let run.
void advanceClock(std::chrono::milliseconds step);
void letClockRun();

// The test executable replaces uname, property_get, the steady clock and the debugger daemon's
// client. Kernel release and debug switch are read once per process, so they come from the
// environment:
//   STALLSCOPE_TEST_RELEASE  the release that uname reports; "(fail)" makes it fail
//   STALLSCOPE_TEST_DEBUG    the value of the debug property; unset means the default

// One call of dump_backtrace_to_file_timeout.
struct Capture {
    int pid;
    DebuggerdDumpType type;
    int timeoutSecs;

    bool operator==(const Capture& other) const {
        return pid == other.pid && type == other.type && timeoutSecs == other.timeoutSecs;
    }
};
std::ostream& operator<<(std::ostream& out, const Capture& capture);

// What the debugger daemon does from now on: returns its result, may write to the descriptor. The
// default writes "java PID" or "native PID" and succeeds.
using CaptureScript = std::function<int(const Capture&, int fd)>;
void scriptCaptures(CaptureScript script);
int writeCapture(const Capture& capture, int fd);

// The calls since the last call of this function.
std::vector<Capture> takeCaptures();

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_PLATFORMFAKES_H
