#include "analysis/input/Bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>

namespace stallscope {

namespace {

// A log of hundreds of megabytes takes as long to map by small pages as to read.
void useLargePages(char* memory, size_t size) {
    constexpr uintptr_t kPage = 4096;
    constexpr size_t kWorthwhile = 8 << 20;
    if (size >= kWorthwhile) {
        auto begin = (reinterpret_cast<uintptr_t>(memory) + kPage - 1) / kPage * kPage;
        auto end = (reinterpret_cast<uintptr_t>(memory) + size) / kPage * kPage;
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    }
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (mNumber > STDERR_FILENO) {
        close(mNumber);
    }
}

void Buffer::reserve(size_t more) {
    if (mCapacity - mSize >= more) {
        return;
    }
    size_t capacity = mSize + more;
    auto* grown = static_cast<char*>(realloc(mBytes.get(), capacity));
    if (grown == nullptr) {
        throw std::bad_alloc();
    }
    (void)mBytes.release();
    mBytes.reset(grown);
    useLargePages(grown, capacity);
    mCapacity = capacity;
}

ssize_t Buffer::readFrom(const ByteSource& source) {
    ssize_t count = source(mBytes.get() + mSize, mCapacity - mSize);
    mSize += count > 0 ? static_cast<size_t>(count) : 0;
    return count;
}

ByteSource sourceOf(int descriptor) {
    return [descriptor](char* buffer, size_t size) {
        ssize_t count = -1;
        do {
            count = read(descriptor, buffer, size);
        } while (count < 0 && errno == EINTR);
        return count;
    };
}

std::string readWholeFile(const std::string& file, Buffer* buffer) {
    constexpr size_t kFirst = 64 * 1024;
    FileDescriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.get() < 0) {
        return "Can't open " + file + ": " + strerror(errno);
    }
    ByteSource source = sourceOf(descriptor.get());
    for (;;) {
        if (buffer->isFull()) {
            buffer->reserve(std::max(kFirst, buffer->text().size()));
        }
        ssize_t count = buffer->readFrom(source);
        if (count <= 0) {
            return count == 0 ? "" : "Can't read " + file + ": " + strerror(errno);
        }
    }
}

}  // namespace stallscope
