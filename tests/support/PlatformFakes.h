#ifndef STALLSCOPE_TESTS_PLATFORMFAKES_H
#define STALLSCOPE_TESTS_PLATFORMFAKES_H

#include <debuggerd/client.h>

#include <chrono>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/LogCapture.h"

namespace android::test {

// Nothing in the daemon catches an exception, but the test framework would: runs `work` as the
// daemon would, on a thread, where one that gets out ends the process.
template <typename Work>
void runAsDaemon(Work work) {
    std::thread(std::move(work)).join();
}

// The test executable replaces uname, property_get, the steady clock and the debugger daemon's
// client. Kernel release and debug switch are read once per process, so they come from the
// environment:
//   STALLSCOPE_TEST_RELEASE  the release that uname reports; "(fail)" makes it fail
//   STALLSCOPE_TEST_DEBUG    the value of the debug property; unset means the default

// The steady clock stands still from the first step on, but for these steps, until it is let run.
void advanceClock(std::chrono::milliseconds step);
void letClockRun();

// What the debugger daemon does from now on: returns its result, may write to the descriptor. The
// default, writeCapture, writes "java PID" or "native PID" and succeeds.
using CaptureScript = std::function<int(int pid, DebuggerdDumpType type, int fd)>;
void scriptCaptures(CaptureScript script);
int writeCapture(int pid, DebuggerdDumpType type, int fd);

// What was asked of it since the last call of this function, such as "java 41 for 5 s".
Texts takeCaptures();

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_PLATFORMFAKES_H
