#include "analysis/input/NativeMutex.h"

#include <algorithm>

namespace stallscope {

namespace {

// How deep below the system call these functions stand at most.
constexpr size_t kDepth = 6;

// Not those that wait for a condition: nobody holds one.
constexpr std::string_view kFunctions[] = {
        "pthread_mutex_lock",
        "pthread_mutex_timedlock",
        "__pthread_mutex_lock",
        "___pthread_mutex_lock",
        "__pthread_mutex_lock_full",
        "__pthread_mutex_lock_with_timeout",
        "__lll_lock_wait",
        "__lll_lock_wait_private",
        "pthread_rwlock_rdlock",
        "pthread_rwlock_wrlock",
        "__pthread_rwlock_rdlock",
        "__pthread_rwlock_wrlock",
        "__pthread_rwlock_timedrdlock",
        "__pthread_rwlock_timedwrlock",
        "___pthread_rwlock_rdlock",
        "___pthread_rwlock_wrlock",
        "NormalMutexLock",
        "NonPI::MutexLockWithTimeout",
        "NonPI::NormalMutexLock",
        "NonPI::RecursiveOrErrorcheckMutexWait",
        "PIMutexTimedLock",
        "art::Mutex::ExclusiveLock",
        "art::ReaderWriterMutex::ExclusiveLock",
        "art::ReaderWriterMutex::SharedLock",
        "art::ReaderWriterMutex::HandleSharedLockContention",
};

// "#01 pc 0004f2c8  /system/lib/libc.so
// (NonPI::MutexLockWithTimeout(pthread_mutex_internal_t*)+36)"
bool namesLockFunction(std::string_view frame) {
    for (size_t open = frame.find('('); open != std::string_view::npos;) {
        size_t begin = open + 1;
        size_t end = std::min(frame.find_first_of("+()<", begin), frame.size());
        std::string_view name = frame.substr(begin, end - begin);
        if (std::find(std::begin(kFunctions), std::end(kFunctions), name) != std::end(kFunctions)) {
            return true;
        }
        open = frame.find('(', end);
    }
    return false;
}

}  // namespace

bool waitsForMutex(const std::vector<StackFrame>& frames) {
    for (size_t i = 0; i < std::min(frames.size(), kDepth); ++i) {
        std::string_view frame = frames[i].text;
        if (frame.substr(0, 1) != "#") {
            return false;
        }
        if (namesLockFunction(frame)) {
            return true;
        }
    }
    return false;
}

}  // namespace stallscope
