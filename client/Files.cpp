#include "client/Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "diagnostics/CaptureBounds.h"

namespace android {

namespace fs = std::filesystem;

namespace {

Result refuse(const std::string& path, const std::string& why) {
    return {kUsage, "cannot use " + path + ": " + why};
}

static_assert(kQuietTime > std::chrono::seconds(std::max(kPeerTimeoutSecs, kNamedTimeoutSecs)));

size_t countRegularFiles(const std::string& directory) {
    size_t count = 0;
    std::error_code error;
    for (fs::directory_iterator it(directory, error), end; !error && it != end;
         it.increment(error)) {
        std::error_code vanished;
        count += it->is_regular_file(vanished) ? 1 : 0;
    }
    return count;
}

Result checkDirectory(const std::string& directory, FileUse use) {
    struct stat status;
    if (stat(directory.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode) ? Result() : refuse(directory, "it is not a directory");
    }
    const int error = errno;
    if (error == ENOENT && use == FileUse::kCaptureAndPrune) {
        // What is missing gets made below the nearest directory that exists.
        return checkDirectory(fs::path(directory).parent_path(), use);
    }
    if (error == ENOENT) {
        return refuse(directory, "the directory does not exist; make it with mkdir -p");
    }
    return refuse(directory, strerror(error));
}

Result checkPruning(const std::string& directory) {
    // A directory that only such jobs write to never holds more.
    const size_t count = countRegularFiles(directory);
    if (count <= kKeptFiles) {
        return {};
    }
    return refuse(directory, "the daemon keeps only the " + std::to_string(kKeptFiles) +
                                     " newest files of the directory and would delete others of "
                                     "the " +
                                     std::to_string(count) +
                                     " there; use a directory of its own, or --force");
}

Result checkLastComponent(const std::string& path, FileUse use) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? Result() : refuse(path, strerror(errno));
    }
    if (S_ISLNK(status.st_mode)) {
        if (use != FileUse::kReplace) {
            return refuse(path,
                          "it is a symbolic link, which the daemon does not follow; name "
                          "the file itself");
        }
        if (stat(path.c_str(), &status) != 0) {
            return errno == ENOENT ? Result() : refuse(path, strerror(errno));
        }
    }
    if (S_ISDIR(status.st_mode)) {
        return refuse(path, "it is a directory; name a file");
    }
    return S_ISREG(status.st_mode) ? Result() : refuse(path, "it is not a regular file");
}

std::string readStart(const std::string& path, char end) {
    std::string start;
    std::ifstream stream(path);
    std::getline(stream, start, end);
    return start;
}

// The process that task belongs to, or 0 when that can't be read: "Tgid:\t1234" in its status. A
// name in the line "Name:" may hold the same words, but not at the start of a line.
int32_t threadGroupOf(int32_t task) {
    std::ifstream stream("/proc/" + std::to_string(task) + "/status");
    int32_t group = 0;
    for (std::string line; std::getline(stream, line);) {
        if (sscanf(line.c_str(), "Tgid: %" SCNd32, &group) == 1) {
            break;
        }
    }
    return group;
}

}  // namespace

Result makeAbsolute(std::string* path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(*path, error);
    if (error) {
        return refuse(*path, "the current directory is unknown (" + error.message() +
                                     "); give an absolute path");
    }
    *path = absolute.string();
    return {};
}

Result checkOutputFile(const std::string& path, FileUse use) {
    if (path.back() == '/') {
        return refuse(path, "it is a directory; name a file");
    }
    const std::string directory = fs::path(path).parent_path();
    Result result = checkDirectory(directory, use);
    if (!result.failed()) {
        result = checkLastComponent(path, use);
    }
    if (!result.failed() && use == FileUse::kCaptureAndPrune) {
        result = checkPruning(directory);
    }
    return result;
}

Result checkProcess(int32_t pid) {
    const std::string text = std::to_string(pid);
    if (access(("/proc/" + text).c_str(), F_OK) != 0) {
        return {kNoProcess, "no such process: PID " + text +
                                    "; list candidates with ps -e, or ask all the same with "
                                    "--force"};
    }
    const int32_t group = threadGroupOf(pid);
    if (group == 0 || group == pid) {
        return {};
    }
    return {kNoProcess, "PID " + text + " is a thread of process " + std::to_string(group) +
                                "; ask about that one"};
}

std::string processName(int32_t pid) {
    const std::string directory = "/proc/" + std::to_string(pid);
    std::string program = readStart(directory + "/cmdline", '\0');
    if (!program.empty()) {
        return program;
    }
    const std::string comm = readStart(directory + "/comm", '\n');
    return comm.empty() ? "gone" : "[" + comm + "]";
}

FileState FileState::of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    return {true, status.st_ino, status.st_size, status.st_mtim};
}

bool FileState::operator==(const FileState& other) const {
    return exists == other.exists && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

bool Growth::isOver(const FileState& state, Time now) {
    if (state != mLast) {
        mLast = state;
        mLastChange = now;
    }
    return now - mLastChange >= kQuietTime;
}

}  // namespace android
