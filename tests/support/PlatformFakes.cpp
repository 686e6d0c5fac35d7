#include "tests/support/PlatformFakes.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <ostream>
#include <utility>

namespace android::test {

namespace {

std::mutex sLock;
std::vector<Capture> sCaptures;
CaptureScript sScript = writeCapture;

constexpr int64_t kRunning = -1;
std::atomic<int64_t> sStoppedClockNs = kRunning;

int64_t realClockNs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Capture& capture) {
    return out << "{pid " << capture.pid << ", type " << capture.type << ", " << capture.timeoutSecs
               << " s}";
}

int writeCapture(const Capture& capture, int fd) {
    const char* kind = capture.type == kDebuggerdJavaBacktrace ? "java" : "native";
    return dprintf(fd, "%s %d\n", kind, capture.pid) > 0 ? 0 : -1;
}

void advanceClock(std::chrono::milliseconds step) {
    int64_t running = kRunning;
    sStoppedClockNs.compare_exchange_strong(running, realClockNs());
    sStoppedClockNs += std::chrono::nanoseconds(step).count();
}

void letClockRun() {
    sStoppedClockNs = kRunning;
}

void scriptCaptures(CaptureScript script) {
    std::lock_guard<std::mutex> guard(sLock);
    sScript = std::move(script);
}

std::vector<Capture> takeCaptures() {
    std::lock_guard<std::mutex> guard(sLock);
    return std::exchange(sCaptures, {});
}

}  // namespace android::test

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
    int64_t stopped = android::test::sStoppedClockNs;
    return time_point(nanoseconds(stopped == android::test::kRunning ? android::test::realClockNs()
                                                                     : stopped));
}

int dump_backtrace_to_file_timeout(pid_t tid, DebuggerdDumpType type, int timeoutSecs, int fd) {
    using namespace android::test;
    Capture capture = {tid, type, timeoutSecs};
    CaptureScript script;
    {
        std::lock_guard<std::mutex> guard(sLock);
        sCaptures.push_back(capture);
        script = sScript;
    }
    return script(capture, fd);
}

extern "C" int uname(utsname* name) noexcept {
    const char* release = getenv("STALLSCOPE_TEST_RELEASE");
    if (release != nullptr && strcmp(release, "(fail)") == 0) {
        errno = EFAULT;
        return -1;
    }
    *name = {};
    strncpy(name->release, release == nullptr ? "6.1.75-android14" : release,
            sizeof(name->release) - 1);
    return 0;
}

extern "C" int property_get(const char* key, char* value, const char* defaultValue) {
    const char* set = getenv("STALLSCOPE_TEST_DEBUG");
    bool isKnown = strcmp(key, "persist.sys.stability.stallscope.debug.enable") == 0;
    const char* text = isKnown && set != nullptr ? set : defaultValue;
    strcpy(value, text);
    return static_cast<int>(strlen(value));
}
