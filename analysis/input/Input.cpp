#include "analysis/input/Input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "analysis/input/BugReportReader.h"
#include "analysis/input/Bytes.h"
#include "analysis/input/PlainText.h"
#include "analysis/input/SettledDumps.h"
#include "analysis/input/ZipReader.h"

namespace stallscope {

namespace {

constexpr size_t kChunk = 1 << 20;  // bytes; formats are known by the first one

std::string unknownFormat(const std::string& file) {
    return file +
           " is neither a binder log nor a bug report (text or zip) nor thread dumps: give "
           "it one of these, as it was written";
}

// One input while it is read.
class Reading {
  public:
    Reading(const std::string& file, int descriptor, const ReadProgress& progress,
            Snapshot* snapshot)
          : mFile(file), mDescriptor(descriptor), mProgress(progress), mSnapshot(snapshot) {}

    std::string read() {
        struct stat status = {};
        if (fstat(mDescriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
            return mFile + " is a directory: give it the files in it";
        }
        mIsSeekable = S_ISREG(status.st_mode) && lseek(mDescriptor, 0, SEEK_CUR) == 0;
        // The kernel's own files say that they have no length, and others may still grow.
        mBuffer = std::make_shared<Buffer>();
        mBuffer->reserve(kChunk);
        if (!readUpTo(kChunk)) {
            return failure();
        }
        if (looksLikeZip(mBuffer->text())) {
            return readAsZip(static_cast<uint64_t>(status.st_size));
        }
        if (looksLikeBugReport(mBuffer->text())) {
            return readAsReport();
        }
        mBuffer->reserve(static_cast<size_t>(std::max<off_t>(status.st_size, 0)) + 1);
        if (!readUpTo(SIZE_MAX)) {
            return failure();
        }
        return readAsText();
    }

  private:
    std::string failure() const { return "Can't read " + mFile + ": " + strerror(errno); }

    // Reads on until the buffer has that many bytes or the input ends.
    bool readUpTo(size_t size) {
        ByteSource source = sourceOf(mDescriptor);
        while (mBuffer->text().size() < size) {
            mBuffer->reserve(mBuffer->isFull() ? mBuffer->text().size() : 1);
            ssize_t count = mBuffer->readFrom(source);
            if (count <= 0) {
                return count == 0;
            }
            report(static_cast<uint64_t>(count));
        }
        return true;
    }

    void report(uint64_t bytes) const {
        if (mProgress) {
            mProgress(bytes);
        }
    }

    std::string readAsText() {
        std::string_view text = mBuffer->text();
        if (text.empty()) {
            return mFile + " is empty: was it saved while the device was connected?";
        }
        TextPiece piece = {text, 0, 1};
        if (!readPlainText(piece, mSnapshot)) {
            return unknownFormat(mFile);
        }
        mSnapshot->texts.push_back({piece, mBuffer});
        return {};
    }

    std::string readAsReport() {
        mSnapshot->format = InputFormat::kBugReport;
        BugReportReader reader(mSnapshot);
        reader.add(mBuffer->text());
        ByteSource source = sourceOf(mDescriptor);
        std::string chunk(kChunk, '\0');
        for (;;) {
            ssize_t count = source(chunk.data(), chunk.size());
            if (count < 0) {
                return failure();
            }
            if (count == 0) {
                reader.finish();
                return {};
            }
            report(static_cast<uint64_t>(count));
            reader.add(std::string_view(chunk).substr(0, static_cast<size_t>(count)));
        }
    }

    // A zip's directory is at its end, so that a pipe is read whole first.
    std::string readAsZip(uint64_t size) {
        mSnapshot->format = InputFormat::kBugReportZip;
        if (!mIsSeekable && !readUpTo(SIZE_MAX)) {
            return failure();
        }
        ZipBytes zip;
        zip.size = mIsSeekable ? size : mBuffer->text().size();
        zip.readAt = [this](char* to, size_t wanted, uint64_t offset) {
            return mIsSeekable ? readFile(to, wanted, offset) : readBuffer(to, wanted, offset);
        };
        std::string error = readZip(zip, mSnapshot);
        return error.empty() ? error : mFile + " " + error;
    }

    ssize_t readFile(char* to, size_t wanted, uint64_t offset) const {
        ssize_t count = -1;
        do {
            count = pread(mDescriptor, to, wanted, static_cast<off_t>(offset));
        } while (count < 0 && errno == EINTR);
        report(static_cast<uint64_t>(std::max<ssize_t>(count, 0)));
        return count;
    }
    ssize_t readBuffer(char* to, size_t wanted, uint64_t offset) const {
        std::string_view text = mBuffer->text();
        text = text.substr(std::min<uint64_t>(offset, text.size()), wanted);
        memcpy(to, text.data(), text.size());
        return static_cast<ssize_t>(text.size());
    }

    const std::string& mFile;
    int mDescriptor;
    const ReadProgress& mProgress;
    Snapshot* mSnapshot;
    bool mIsSeekable = false;
    std::shared_ptr<Buffer> mBuffer;
};

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
    std::string error =
            Reading(snapshot->sources.front(), descriptor.get(), progress, snapshot).read();
    nameFromDumps(snapshot);
    return error;
}

std::string readText(std::string text, Snapshot* snapshot) {
    snapshot->file = "-";
    snapshot->sources = {"text"};
    auto owner = std::make_shared<const std::string>(std::move(text));
    if (looksLikeBugReport(*owner)) {
        snapshot->format = InputFormat::kBugReport;
        readBugReport(*owner, snapshot);
    } else if (readPlainText({*owner, 0, 1}, snapshot)) {
        snapshot->texts.push_back({{*owner, 0, 1}, owner});
    } else {
        return unknownFormat("the text");
    }
    nameFromDumps(snapshot);
    return {};
}

}  // namespace stallscope
