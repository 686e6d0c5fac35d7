#ifndef STALLSCOPE_TESTS_PLATFORMFAKES_H
#define STALLSCOPE_TESTS_PLATFORMFAKES_H

#include <debuggerd/client.h>

#include <chrono>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/Events.h"

namespace android::test {

// The test program replaces the steady clock, open, fsync, fdatasync and the debugger daemon's
// client, which all leave events, and uname and property_get. Kernel release and debug switch are
// read once per process, so they come from the environment:
//   STALLSCOPE_TEST_RELEASE  the release that uname reports; "(fail)" makes it fail
//   STALLSCOPE_TEST_DEBUG    the value of the debug property; unset means the default
bool isDebugOn();

// Nothing in the daemon catches an exception, but the test framework would: runs `work` as the
// daemon would, on a thread, where one that gets out ends the process.
template <typename Work>
void runAsDaemon(Work work) {
    std::thread(std::move(work)).join();
}

// Forgets events, steps of the clock and the script of captures.
void resetFakes();
// Whether no thread and no descriptor is left of what has been done since.
bool isAllDone();

// The steady clock stands still from the first step on, but for these steps.
void advanceClock(std::chrono::milliseconds step);

// What the debugger daemon does from now on: returns its result, may write to the descriptor. The
// default, writeCapture, writes "java PID" or "native PID" and succeeds.
using CaptureScript = std::function<int(int pid, DebuggerdDumpType type, int fd)>;
void scriptCaptures(CaptureScript script);
int writeCapture(int pid, DebuggerdDumpType type, int fd);

// Where the real /proc is while tests have one of their own.
inline constexpr char kRealProc[] = "/dev/proc";

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_PLATFORMFAKES_H
