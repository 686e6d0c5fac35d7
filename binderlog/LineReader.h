#ifndef STALLSCOPE_BINDERLOG_LINEREADER_H
#define STALLSCOPE_BINDERLOG_LINEREADER_H

#include <android-base/unique_fd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace android {

// Reads a file line by line through one buffer that grows only to the longest line.
class LineReader {
  public:
    explicit LineReader(const std::string& path);

    bool isOpen() const { return mFile.get() >= 0; }

    // The next line without its line end, valid until the next call.
    // False at the end of the file, which a read error counts as.
    bool next(std::string_view* line);

  private:
    struct Free {
        void operator()(char* memory) const { free(memory); }
    };

    bool fill();
    void grow();

    base::unique_fd mFile;
    std::unique_ptr<char, Free> mBuffer;
    size_t mCapacity = 0;
    size_t mBegin = 0;    // first byte not handed out yet
    size_t mEnd = 0;      // end of what was read
    bool mAtEnd = false;  // nothing more will come from the file
};

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_LINEREADER_H
