#ifndef STALLSCOPE_ANALYSIS_INPUT_BYTES_H
#define STALLSCOPE_ANALYSIS_INPUT_BYTES_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "analysis/input/ByteSource.h"

namespace stallscope {

// A descriptor that is closed with its owner.
class FileDescriptor {
  public:
    explicit FileDescriptor(int number = -1) : mNumber(number) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept : mNumber(other.release()) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return mNumber; }
    int release() {
        int number = mNumber;
        mNumber = -1;
        return number;
    }

  private:
    int mNumber;
};

// Bytes that grow at the end. Unlike a string's they are not cleared before they are read into.
class Buffer {
  public:
    std::string_view text() const { return {mBytes.get(), mSize}; }
    char* data() { return mBytes.get(); }
    bool isFull() const { return mSize == mCapacity; }
    // Drops what is behind that many bytes.
    void resize(size_t size) { mSize = size; }

    // Makes room for at least that many bytes more.
    void reserve(size_t more);
    // Reads on, into all the room there is. As a ByteSource does.
    ssize_t readFrom(const ByteSource& source);

  private:
    struct Free {
        void operator()(char* memory) const { free(memory); }
    };

    std::unique_ptr<char, Free> mBytes;
    size_t mSize = 0;
    size_t mCapacity = 0;
};

// A descriptor's bytes from where it stands. It has to outlive the source.
ByteSource sourceOf(int descriptor);

// Reads a file of any kind, the kernel's without a length among them. An empty string on success,
// else a sentence that says what is wrong.
std::string readWholeFile(const std::string& file, Buffer* buffer);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_BYTES_H
