#include "diagnostics/LineWriter.h"

#include <android-base/file.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace android {

namespace {

constexpr mode_t kReadableAndWritable = 0666;  // before the umask

int openForWriting(const std::string& file, LineWriter::Mode mode) {
    // Non-blocking for the open alone: a FIFO that nobody reads must not hold a binder thread.
    int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK |
                (mode == LineWriter::Mode::Replace ? O_TRUNC : O_APPEND);
    int fd = TEMP_FAILURE_RETRY(open(file.c_str(), flags, kReadableAndWritable));
    if (fd >= 0) {
        fcntl(fd, F_SETFL, flags & O_APPEND);
    }
    return fd;
}

}  // namespace

LineWriter::LineWriter(const std::string& file, Mode mode) : mFile(openForWriting(file, mode)) {}

void LineWriter::writeLine(const std::string& line) {
    mHasFailed = mHasFailed || !base::WriteFully(mFile, (line + '\n').data(), line.size() + 1);
}

}  // namespace android
