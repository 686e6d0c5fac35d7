#ifndef STALLSCOPE_CLIENT_FILES_H
#define STALLSCOPE_CLIENT_FILES_H

#include <sys/types.h>
#include <time.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "client/Result.h"

namespace android {

// What the daemon does with FILE, and so what FILE may be.
enum class FileUse {
    kNone,
    kReplace,          // written through a link, into a directory that exists
    kCapture,          // a link is refused
    kCaptureAndPrune,  // likewise; the directory is made, and all but its five newest files removed
};

// The daemon has a working directory of its own. path is not empty.
Result makeAbsolute(std::string* path);

// Refuses a path that the daemon would refuse, or whose directory it would damage.
Result checkOutputFile(const std::string& path, FileUse use);

// Refuses a pid that is none or that is a thread.
Result checkProcess(int32_t pid);

// The program of pid, or its thread name in brackets, or "gone".
std::string processName(int32_t pid);

// What a file looks like at one moment; two are equal when nobody wrote in between.
struct FileState {
    bool exists = false;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};

    static FileState of(const std::string& path);
    bool operator==(const FileState& other) const;
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

// As long a silence means that a background job is over: no capture of one lasts longer than this.
inline constexpr std::chrono::seconds kQuietTime(3);

// Judges by one look after the other whether a file still grows.
class Growth {
  public:
    using Time = std::chrono::steady_clock::time_point;

    Growth(const FileState& before, Time now) : mLast(before), mLastChange(now) {}

    // Adds a look; true when the file has been quiet for kQuietTime.
    bool isOver(const FileState& state, Time now);

  private:
    FileState mLast;
    Time mLastChange;
};

}  // namespace android

#endif  // STALLSCOPE_CLIENT_FILES_H
