#ifndef STALLSCOPE_ANALYSIS_INPUT_DUMPLOCK_H
#define STALLSCOPE_ANALYSIS_INPUT_DUMPLOCK_H

#include <string_view>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// What a line that begins with "- " says of a lock.
enum class LockRelation : uint8_t {
    kNone,         // nothing that is known
    kIgnored,      // "- None", "- eliminated"
    kWaitsToLock,  // "- waiting to lock", "- parking to wait for"
    kRelocks,      // "- waiting to re-lock in wait()": waits to lock what it has given up
    kWaitsOn,      // "- waiting on", "- sleeping on"
    kLocked,       // "- locked"
    kOwns,         // an entry of "Locked ownable synchronizers"
};

// `line` is without the blanks around it. *lock is filled but for its place.
LockRelation readLockLine(std::string_view line, LockWait* lock);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DUMPLOCK_H
