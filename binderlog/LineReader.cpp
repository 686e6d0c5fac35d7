#include "binderlog/LineReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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
        grow();
    }
}

bool LineReader::next(std::string_view* line) {
    size_t searched = 0;
    for (;;) {
        const char* begin = mBuffer.get() + mBegin;
        size_t size = mEnd - mBegin;
        auto* end = static_cast<const char*>(memchr(begin + searched, '\n', size - searched));
        if (end != nullptr) {
            *line = std::string_view(begin, end - begin);
            mBegin += line->size() + 1;
            return true;
        }
        searched = size;
        if (!mAtEnd && fill()) {
            continue;
        }
        mAtEnd = true;
        *line = std::string_view(mBuffer.get() + mBegin, mEnd - mBegin);
        mBegin = mEnd;
        return !line->empty();
    }
}

// Moves the unfinished line to the front and reads on behind it.
bool LineReader::fill() {
    mEnd -= mBegin;
    memmove(mBuffer.get(), mBuffer.get() + mBegin, mEnd);
    mBegin = 0;
    if (mEnd == mCapacity) {
        grow();
    }
    ssize_t count = TEMP_FAILURE_RETRY(read(mFile.get(), mBuffer.get() + mEnd, mCapacity - mEnd));
    if (count <= 0) {
        return false;
    }
    mEnd += count;
    return true;
}

// For a line of megabytes this moves pages, not bytes, and touches none that aren't read into.
void LineReader::grow() {
    mCapacity = std::max(kInitialBufferSize, mCapacity * 2);
    char* grown = static_cast<char*>(realloc(mBuffer.release(), mCapacity));
    if (grown == nullptr) {
        abort();  // as for any other memory
    }
    mBuffer.reset(grown);
}

}  // namespace android
