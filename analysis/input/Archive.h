#ifndef STALLSCOPE_ANALYSIS_INPUT_ARCHIVE_H
#define STALLSCOPE_ANALYSIS_INPUT_ARCHIVE_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct archive;
struct archive_entry;

namespace stallscope {

// The bytes of a zip, to be read from any place: its directory is at its end.
struct ZipBytes {
    // Reads up to `size` bytes from `offset` on; 0 at the end, -1 with errno on failure.
    std::function<ssize_t(char* buffer, size_t size, uint64_t offset)> readAt;
    uint64_t size = 0;
};

// Those of a text that stays in memory.
ZipBytes bytesOf(std::string_view text);

struct ZipMember {
    std::string name;  // without "./" and "/" in front
    uint64_t size = 0;
    bool isSizeKnown = false;
    bool isFile = false;
    bool isEncrypted = false;
};

// Goes through the members of a zip once.
class ZipWalk {
  public:
    // `bytes` has to outlive the walk.
    explicit ZipWalk(const ZipBytes& bytes);
    ~ZipWalk();

    // False at the end, or where the rest can't be read.
    bool next(ZipMember* member);
    // Reads on in the member; 0 at its end, -1 when the rest of it can't be read.
    ssize_t read(char* buffer, size_t size);
    // What went wrong last; empty if nothing did.
    const std::string& error() const { return mError; }

  private:
    struct Closer {
        void operator()(archive* reader) const;
    };
    struct Position;

    void keepError();

    std::unique_ptr<Position> mPosition;
    std::unique_ptr<archive, Closer> mArchive;
    std::string mError;
    bool mIsOver = false;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_ARCHIVE_H
