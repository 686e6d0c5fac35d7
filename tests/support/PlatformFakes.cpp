#include "tests/support/PlatformFakes.h"

#include <sys/utsname.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <utility>

namespace android::test {

namespace {

std::mutex sLock;
Texts sCaptures;
CaptureScript sScript = writeCapture;

constexpr int64_t kRunning = -1;
std::atomic<int64_t> sStoppedClockNs = kRunning;

int64_t clockNs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    int64_t stopped = sStoppedClockNs;
    return stopped == kRunning ? now.tv_sec * 1'000'000'000LL + now.tv_nsec : stopped;
}

std::string nameCapture(int pid, DebuggerdDumpType type) {
    return (type == kDebuggerdJavaBacktrace ? "java " : "native ") + std::to_string(pid);
}

}  // namespace

int writeCapture(int pid, DebuggerdDumpType type, int fd) {
    return dprintf(fd, "%s\n", nameCapture(pid, type).c_str()) > 0 ? 0 : -1;
}

void advanceClock(std::chrono::milliseconds step) {
    sStoppedClockNs = clockNs() + std::chrono::nanoseconds(step).count();
}

void letClockRun() {
    sStoppedClockNs = kRunning;
}

void scriptCaptures(CaptureScript script) {
    std::lock_guard<std::mutex> guard(sLock);
    sScript = std::move(script);
}

Texts takeCaptures() {
    std::lock_guard<std::mutex> guard(sLock);
    return std::exchange(sCaptures, {});
}

}  // namespace android::test

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
    return time_point(nanoseconds(android::test::clockNs()));
}

int dump_backtrace_to_file_timeout(pid_t tid, DebuggerdDumpType type, int timeoutSecs, int fd) {
    using namespace android::test;
    std::unique_lock<std::mutex> guard(sLock);
    sCaptures.push_back(nameCapture(tid, type) + " for " + std::to_string(timeoutSecs) + " s");
    CaptureScript script = sScript;
    guard.unlock();
    return script(tid, type, fd);
}

extern "C" int uname(utsname* name) noexcept {
    const char* release = getenv("STALLSCOPE_TEST_RELEASE");
    if (release != nullptr && strcmp(release, "(fail)") == 0) {
        errno = EFAULT;
        return -1;
    }
    *name = {};
    strcpy(name->release, release == nullptr ? "6.1.75-android14" : release);
    return 0;
}

extern "C" int property_get(const char* key, char* value, const char* defaultValue) {
    const char* set = getenv("STALLSCOPE_TEST_DEBUG");
    bool isKnown = strcmp(key, "persist.sys.stability.stallscope.debug.enable") == 0;
    strcpy(value, isKnown && set != nullptr ? set : defaultValue);
    return static_cast<int>(strlen(value));
}
