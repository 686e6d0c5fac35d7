#ifndef STALLSCOPE_HOST_DEBUGGERD_CAPTURERESULT_H
#define STALLSCOPE_HOST_DEBUGGERD_CAPTURERESULT_H

namespace debuggerd {

// How a capture ended: the exit status of the capture process, and what the library returns.
enum class CaptureResult : unsigned char {
    kCaptured = 0,
    kTimedOut = 1,
    kNoSuchProcess = 2,
    kTraced = 3,
    kNotPermitted = 4,
    kNotJvm = 5,
    kJvmFailed = 6,
    kWriteFailed = 7,
    kUnsupported = 8,
    kBroken = 9,
};

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_CAPTURERESULT_H
