#pragma once

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <string>

#include "Arguments.h"

namespace android {

/** What the daemon does with FILE, and so what FILE may be. */
enum class FileUse {
    kNone,
    kReplace,          // written through a link, into a directory that exists
    kCapture,          // a link is refused
    kCaptureAndPrune,  // likewise; the directory is made, and all but its five newest files removed
};

/** The daemon has a working directory of its own. */
Result makeAbsolute(std::string* path);

/** Refuses a path that the daemon would refuse, or whose directory it would damage. */
Result checkOutputFile(const std::string& path, FileUse use);

/** Refuses a pid that is none or that is a thread. */
Result checkProcess(int32_t pid);

/** The program of pid, or its thread name in brackets, or "gone". */
std::string processName(int32_t pid);

/** What a file looks like at one moment; two are equal when nobody wrote in between. */
struct FileState {
    bool exists = false;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};

    static FileState of(const std::string& path);
    bool operator==(const FileState& other) const;
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

}  // namespace android
