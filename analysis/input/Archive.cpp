#include "analysis/input/Archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "analysis/input/Tokens.h"

namespace stallscope {

ZipBytes bytesOf(std::string_view text) {
    ZipBytes bytes;
    bytes.size = text.size();
    bytes.readAt = [text](char* buffer, size_t size, uint64_t offset) {
        std::string_view part = text.substr(std::min<uint64_t>(offset, text.size()), size);
        part.copy(buffer, part.size());
        return static_cast<ssize_t>(part.size());
    };
    return bytes;
}

// Where libarchive stands in the bytes.
struct ZipWalk::Position {
    const ZipBytes* bytes = nullptr;
    uint64_t offset = 0;
    std::vector<char> buffer = std::vector<char>(64 * 1024);

    static la_ssize_t read(archive*, void* self, const void** buffer) {
        auto* position = static_cast<Position*>(self);
        char* data = position->buffer.data();
        ssize_t count = position->bytes->readAt(data, position->buffer.size(), position->offset);
        position->offset += std::max<ssize_t>(count, 0);
        *buffer = data;
        return count;
    }
    static la_int64_t skip(archive*, void* self, la_int64_t wanted) {
        auto* position = static_cast<Position*>(self);
        uint64_t left = position->bytes->size - std::min(position->bytes->size, position->offset);
        uint64_t skipped = std::min(static_cast<uint64_t>(std::max<la_int64_t>(wanted, 0)), left);
        position->offset += skipped;
        return static_cast<la_int64_t>(skipped);
    }
    static la_int64_t seek(archive*, void* self, la_int64_t offset, int whence) {
        auto* position = static_cast<Position*>(self);
        auto size = static_cast<la_int64_t>(position->bytes->size);
        la_int64_t base = whence == SEEK_END   ? size
                          : whence == SEEK_CUR ? static_cast<la_int64_t>(position->offset)
                                               : 0;
        if (offset < -base || offset > size - base) {
            return ARCHIVE_FATAL;
        }
        position->offset = static_cast<uint64_t>(base + offset);
        return base + offset;
    }
};

void ZipWalk::Closer::operator()(archive* reader) const {
    archive_read_free(reader);
}

ZipWalk::ZipWalk(const ZipBytes& bytes)
      : mPosition(std::make_unique<Position>()), mArchive(archive_read_new()) {
    mPosition->bytes = &bytes;
    archive* reader = mArchive.get();
    archive_read_support_format_zip(reader);
    archive_read_set_read_callback(reader, Position::read);
    archive_read_set_skip_callback(reader, Position::skip);
    archive_read_set_seek_callback(reader, Position::seek);
    archive_read_set_callback_data(reader, mPosition.get());
    mIsOver = archive_read_open1(reader) < ARCHIVE_WARN;
    if (mIsOver) {
        keepError();
    }
}

ZipWalk::~ZipWalk() = default;

bool ZipWalk::next(ZipMember* member) {
    archive_entry* entry = nullptr;
    int status = mIsOver ? ARCHIVE_EOF : archive_read_next_header(mArchive.get(), &entry);
    if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
        mIsOver = true;
        if (status != ARCHIVE_EOF) {
            keepError();
        }
        return false;
    }
    const char* name = archive_entry_pathname_utf8(entry);
    name = name == nullptr ? archive_entry_pathname(entry) : name;
    std::string_view path = name == nullptr ? "" : name;
    while (takePrefix(&path, "/") || takePrefix(&path, "./")) {
    }
    member->name = path;
    member->isSizeKnown = archive_entry_size_is_set(entry) != 0;
    member->size = static_cast<uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
    member->isFile = archive_entry_filetype(entry) == AE_IFREG;
    member->isEncrypted = archive_entry_is_encrypted(entry) != 0;
    return true;
}

ssize_t ZipWalk::read(char* buffer, size_t size) {
    la_ssize_t count = archive_read_data(mArchive.get(), buffer, size);
    if (count < 0) {
        keepError();
        return -1;
    }
    return count;
}

void ZipWalk::keepError() {
    const char* text = archive_error_string(mArchive.get());
    mError = text == nullptr ? "it is damaged" : text;
}

}  // namespace stallscope
