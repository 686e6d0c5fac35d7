#include "analysis/input/Input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "analysis/input/BugReportReader.h"
#include "analysis/input/Bytes.h"
#include "analysis/input/LineEnds.h"
#include "analysis/input/PlainText.h"
#include "analysis/input/Tokens.h"
#include "analysis/input/ZipReader.h"
#include "analysis/model/Dumps.h"

namespace stallscope {

namespace {

// Formats are known by the first bytes. No more of an input is read than is needed for that, until
// it is known for one that can be read: it may have no end.
constexpr size_t kChunk = 256 * 1024;
// More than any log or dump; what goes on behind that is none.
constexpr size_t kMostText = size_t{4} << 30;

// Without the mark that some editors put in front.
std::string_view withoutMark(std::string_view text) {
    takePrefix(&text, "\xef\xbb\xbf");
    return text;
}

std::string unknownFormat(const std::string& file, std::string_view begin) {
    using namespace std::string_view_literals;
    if (begin.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return file + " is empty: was it saved while the device was connected?";
    }
    if (beginsWith(begin, "\xff\xfe"sv) || beginsWith(begin, "\xfe\xff"sv)) {
        return file + " is UTF-16 text, as PowerShell's > writes it: save it as UTF-8, or from " +
               "another shell";
    }
    if (beginsWith(begin, "\x1f\x8b"sv)) {
        return file + " is compressed with gzip: unpack it first (gunzip)";
    }
    return file + " is neither a binder log nor a bug report (text or zip) nor thread dumps nor " +
           "a process list: give it one of these, as it was written";
}

// One input while it is read.
class Reading {
  public:
    Reading(const std::string& file, ByteSource source, Snapshot* snapshot)
          : mFile(file), mSource(std::move(source)), mSnapshot(snapshot) {}

    // The whole input at any place, if it can be read so.
    void setBytes(const ZipBytes* bytes) { mBytes = bytes; }

    // The length, if it is known beforehand.
    void setLength(size_t length) { mLength = length; }

    std::string read() {
        if (!readUpTo(kChunk)) {
            return failure();
        }
        std::string_view begin = withoutMark(mBuffer->text());
        if (looksLikeZip(begin)) {
            return readAsZip();
        }
        if (looksLikeBugReport(begin)) {
            return readAsReport();
        }
        return looksLikePlainText(begin) ? readAsText() : unknownFormat(mFile, begin);
    }

  private:
    std::string failure() const { return "Can't read " + mFile + ": " + strerror(errno); }

    // Reads on until the buffer has that many bytes or the input ends.
    bool readUpTo(size_t size) {
        while (mBuffer->text().size() < size) {
            if (mBuffer->isFull()) {
                mBuffer->reserve(std::max(kChunk, mBuffer->text().size()));
            }
            ssize_t count = mBuffer->readFrom(mSource);
            if (count <= 0) {
                return count == 0;
            }
        }
        return true;
    }

    std::string readAsText() {
        size_t known = mBuffer->text().size();
        mBuffer->reserve(std::max(mLength, known) - known + 1);  // the end has to be met, too
        if (!readUpTo(kMostText)) {
            return failure();
        }
        if (mBuffer->text().size() >= kMostText) {
            return mFile + " is larger than any log or dump: give a part of it";
        }
        mBuffer->resize(dropReturns(mBuffer->data(), mBuffer->text().size()));
        KeptText kept = {{withoutMark(mBuffer->text()), 0, 1}, mBuffer};
        readPlainText(kept, mSnapshot);
        mSnapshot->texts.push_back(std::move(kept));
        return {};
    }

    std::string readAsReport() {
        mSnapshot->format = InputFormat::kBugReport;
        BugReportReader reader(mSnapshot);
        reader.add(withoutMark(mBuffer->text()));
        Buffer chunk;
        chunk.reserve(kChunk);
        for (;;) {
            chunk.resize(0);
            ssize_t count = chunk.readFrom(mSource);
            if (count <= 0) {
                reader.finish();
                return count == 0 ? std::string() : failure();
            }
            reader.add(chunk.text());
        }
    }

    // A zip's directory is at its end, so that a pipe is read whole first.
    std::string readAsZip() {
        mSnapshot->format = InputFormat::kBugReportZip;
        ZipBytes read;
        if (mBytes == nullptr) {
            if (!readUpTo(kMostText)) {
                return failure();
            }
            read = bytesOf(mBuffer->text());
        }
        std::string error = readZip(mBytes == nullptr ? read : *mBytes, mSnapshot);
        return error.empty() ? error : mFile + " " + error;
    }

    const std::string& mFile;
    ByteSource mSource;
    const ZipBytes* mBytes = nullptr;
    size_t mLength = 0;
    Snapshot* mSnapshot;
    std::shared_ptr<Buffer> mBuffer = std::make_shared<Buffer>();
};

std::string readDescriptor(int descriptor, const ReadProgress& progress, Snapshot* snapshot) {
    const std::string& file = snapshot->sources.front();
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        return file + " is a directory: give it the files in it";
    }
    auto report = [&](ssize_t count) {
        if (progress && count > 0) {
            progress(static_cast<uint64_t>(count));
        }
        return count;
    };
    ByteSource source = sourceOf(descriptor);
    Reading reading(
            file, [&](char* buffer, size_t size) { return report(source(buffer, size)); },
            snapshot);
    // The kernel's own files say that they have no length, and others may still grow.
    ZipBytes bytes;
    bytes.size = static_cast<uint64_t>(std::max<off_t>(status.st_size, 0));
    bytes.readAt = [&](char* buffer, size_t size, uint64_t offset) {
        return report(pread(descriptor, buffer, size, static_cast<off_t>(offset)));
    };
    bool canSeek = S_ISREG(status.st_mode) && lseek(descriptor, 0, SEEK_CUR) == 0;
    if (canSeek) {
        reading.setBytes(&bytes);
        reading.setLength(bytes.size);
    }
    return reading.read();
}

}  // namespace

std::string readInput(const std::string& file, const ReadProgress& progress, Snapshot* snapshot) {
    snapshot->file = file;
    bool isStandardInput = file == "-";
    snapshot->sources = {isStandardInput ? "standard input" : file};
    FileDescriptor descriptor(isStandardInput ? STDIN_FILENO
                                              : open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.get() < 0) {
        return "Can't open " + file + ": " + strerror(errno);
    }
    std::string error = readDescriptor(descriptor.get(), progress, snapshot);
    nameByDumps(snapshot);
    return error;
}

std::string readText(std::string_view text, Snapshot* snapshot) {
    snapshot->file = "-";
    snapshot->sources = {"text"};
    ZipBytes bytes = bytesOf(text);
    uint64_t offset = 0;
    ByteSource source = [&](char* buffer, size_t size) {
        ssize_t count = bytes.readAt(buffer, size, offset);
        offset += static_cast<uint64_t>(count);
        return count;
    };
    std::string error = Reading(snapshot->sources.front(), source, snapshot).read();
    nameByDumps(snapshot);
    return error;
}

}  // namespace stallscope
