#include "binderlog/LineReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace android {

namespace {

// The kernel hands out at most a page of its log at a time; ordinary files fill the buffer.
constexpr size_t kInitialBufferSize = 64 * 1024;

}  // namespace

LineReader::LineReader(const std::string& path)
    : mFile(TEMP_FAILURE_RETRY(open(path.c_str(), O_RDONLY | O_CLOEXEC))) {
    if (isOpen()) {
        mBuffer.resize(kInitialBufferSize);
    }
}

bool LineReader::next(std::string_view* line) {
    size_t searched = 0;
    for (;;) {
        char* begin = mBuffer.data() + mBegin;
        size_t size = mEnd - mBegin;
        char* end = static_cast<char*>(memchr(begin + searched, '\n', size - searched));
        if (end != nullptr) {
            *end = '\0';
            *line = std::string_view(begin, end - begin);
            mBegin += line->size() + 1;
            return true;
        }
        searched = size;
        if (!mAtEnd && fill()) {
            continue;
        }
        mAtEnd = true;
        *line = std::string_view(mBuffer.data() + mBegin, size);
        mBuffer[mEnd] = '\0';
        mBegin = mEnd;
        return size > 0;
    }
}

// Moves the unfinished line to the front and reads on behind it. One byte always stays free for the
// NUL behind a last line without a line end.
bool LineReader::fill() {
    size_t size = mEnd - mBegin;
    memmove(mBuffer.data(), mBuffer.data() + mBegin, size);
    mBegin = 0;
    mEnd = size;
    if (mEnd + 1 == mBuffer.size()) {
        mBuffer.resize(mBuffer.size() * 2);
    }
    ssize_t count = TEMP_FAILURE_RETRY(
            read(mFile.get(), mBuffer.data() + mEnd, mBuffer.size() - 1 - mEnd));
    if (count <= 0) {
        return false;
    }
    mEnd += count;
    return true;
}

}  // namespace android
