#include "host/debuggerd/DumpFile.h"

#include <android-base/stringprintf.h>
#include <errno.h>
#include <poll.h>
#include <time.h>
#include <unistd.h>

#include "host/debuggerd/ProcFile.h"

namespace debuggerd {

namespace {
constexpr size_t kBufferSize = 64 * 1024;
}

void DumpFile::begin(pid_t pid, const char* abi) {
    time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char text[32];
    strftime(text, sizeof(text), "%F %T", &local);
    append(android::base::StringPrintf("\n\n----- pid %d at %s -----\nCmd line: ", pid, text));
    append(commandLine(pid) + "\nABI: '" + abi + "'\n");
}

void DumpFile::end(pid_t pid) {
    append(android::base::StringPrintf("\n----- end %d -----\n", pid));
}

void DumpFile::append(std::string_view text) {
    mText += text;
    if (mText.size() >= kBufferSize) {
        flush();
    }
}

bool DumpFile::flush() {
    mFailed = mFailed || !writeAll(mText);
    mText.clear();
    return !mFailed;
}

bool DumpFile::writeAll(std::string_view text) {
    while (!text.empty()) {
        ssize_t written = write(mFd, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(written);
        } else if (written == -1 && errno == EAGAIN && !mDeadline.expired()) {
            pollfd room = {mFd, POLLOUT, 0};
            poll(&room, 1, mDeadline.pollTimeout());
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace debuggerd
