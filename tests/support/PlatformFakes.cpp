#include "tests/support/PlatformFakes.h"

#include <android-base/stringprintf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <mutex>

namespace android::test {

namespace {

std::mutex sLock;
CaptureScript sScript = writeCapture;

Texts& events() {
    static Texts sEvents;  // the first come during static initialisation
    return sEvents;
}

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

// Files that are read one after the other make one event.
void addRead(const std::string& path) {
    std::lock_guard<std::mutex> guard(sLock);
    bool isFirst = events().empty() || events().back().rfind("reads ", 0) != 0;
    std::string& event = isFirst ? events().emplace_back("reads") : events().back();
    event += " " + (path.rfind("/proc/", 0) == 0 ? path.substr(6) : path);
}

void addOpen(const std::string& path, int flags, mode_t mode) {
    if (flags == (O_RDONLY | O_CLOEXEC)) {
        addRead(path);
        return;
    }
    static constexpr std::pair<int, const char*> kNames[] = {
            {O_WRONLY, " WRONLY"},  {O_CREAT, " CREAT"},       {O_TRUNC, " TRUNC"},
            {O_APPEND, " APPEND"},  {O_NOFOLLOW, " NOFOLLOW"}, {O_NONBLOCK, " NONBLOCK"},
            {O_CLOEXEC, " CLOEXEC"}};
    std::string event = "opens " + path;
    for (const auto& [flag, name] : kNames) {
        event += (flags & flag) != 0 ? name : "";
    }
    addEvent(event + ((flags & O_CREAT) != 0 ? base::StringPrintf(" %#o", mode) : ""));
}

size_t sFormerThreads = SIZE_MAX;
size_t sFormerDescriptors = 0;

// One at a time: each has a descriptor that others would count.
size_t countOwn(const std::string& folder) {
    static std::mutex sCounting;
    std::lock_guard<std::mutex> guard(sCounting);
    const auto entries = std::filesystem::directory_iterator(kRealProc + ("/self/" + folder));
    return std::distance(begin(entries), end(entries));
}

int sync(const char* name, long number, int fd) {
    const std::string held = std::to_string(countOwn("fd") - sFormerDescriptors);
    addEvent(name + (", holding " + held));
    return static_cast<int>(syscall(number, fd));
}

}  // namespace

void addEvent(const std::string& event) {
    std::lock_guard<std::mutex> guard(sLock);
    events().push_back(event);
}

Texts takeEvents(const std::string& starts) {
    std::lock_guard<std::mutex> guard(sLock);
    Texts taken = std::exchange(events(), {});
    auto isDropped = [&](const std::string& event) {
        return starts.find(event[0]) == std::string::npos;
    };
    taken.erase(std::remove_if(taken.begin(), taken.end(), isDropped), taken.end());
    return taken;
}

Texts takeLog() {
    return takeEvents("IWE");
}

bool isDebugOn() {
    const char* set = getenv("STALLSCOPE_TEST_DEBUG");
    return set != nullptr && *set != '\0';
}

int writeCapture(int pid, DebuggerdDumpType type, int fd) {
    return dprintf(fd, "%s\n", nameCapture(pid, type).c_str()) > 0 ? 0 : -1;
}

void advanceClock(std::chrono::milliseconds step) {
    sStoppedClockNs = clockNs() + std::chrono::nanoseconds(step).count();
}

void scriptCaptures(CaptureScript script) {
    std::lock_guard<std::mutex> guard(sLock);
    sScript = std::move(script);
}

void resetFakes() {
    takeEvents();
    scriptCaptures(writeCapture);
    sStoppedClockNs = kRunning;
    // One that was joined a moment ago may still be listed.
    sFormerThreads = std::min(sFormerThreads, countOwn("task"));
    sFormerDescriptors = countOwn("fd");
}

bool isAllDone() {
    return countOwn("task") == sFormerThreads && countOwn("fd") == sFormerDescriptors;
}

}  // namespace android::test

using namespace android::test;

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
    return time_point(nanoseconds(clockNs()));
}

int dump_backtrace_to_file_timeout(pid_t tid, DebuggerdDumpType type, int timeoutSecs, int fd) {
    addEvent("captures " + nameCapture(tid, type) + " for " + std::to_string(timeoutSecs) + " s");
    std::unique_lock<std::mutex> guard(sLock);
    CaptureScript script = sScript;
    guard.unlock();
    return script(tid, type, fd);
}

extern "C" int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    addOpen(path, flags, mode);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" int fsync(int fd) {
    return sync("fsync", SYS_fsync, fd);
}

extern "C" int fdatasync(int fd) {
    return sync("fdatasync", SYS_fdatasync, fd);
}

extern "C" int uname(utsname* name) {
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
