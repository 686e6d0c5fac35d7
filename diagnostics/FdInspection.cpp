#include "diagnostics/FdInspection.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include "diagnostics/Directory.h"
#include "diagnostics/LineWriter.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr char kListing[] = "writeFdInfoToFile";

std::string fdDirectoryOf(int pid) {
    return "/proc/" + std::to_string(pid) + "/fd";
}

void writeLink(const std::string& link, LineWriter* writer) {
    char target[4096] = {};
    if (readlink(link.c_str(), target, sizeof(target) - 1) == -1) {
        // Closed since the directory was read.
        LOG_LINE(ANDROID_LOG_ERROR, kListing, "Error reading link %s", link.c_str());
        return;
    }
    writer->writeLine(link + " -> " + target);
}

// True when the file has the listing. Directory and file are closed again: forcing a file to
// storage may take long, and nothing is to be held meanwhile.
bool writeLinks(const std::string& path, const std::string& file) {
    Directory directory(path);
    if (!directory.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, kListing, "open fdDir fail!");
        return false;
    }
    LineWriter writer(file, LineWriter::Mode::Replace);
    if (!writer.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, kListing, "open filePath fail: %s", file.c_str());
        return false;
    }
    while (const dirent* entry = directory.next()) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            writeLink(path + "/" + name, &writer);
        }
    }
    return true;
}

}  // namespace

int getFdAmount(int pid) {
    Directory directory(fdDirectoryOf(pid));
    if (!directory.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "open fdDir fail!");
        return -1;
    }
    int amount = 0;
    while (directory.next() != nullptr) {
        ++amount;
    }
    return amount;
}

void writeFdInfoToFile(const std::string& file, int pid) {
    std::string path = fdDirectoryOf(pid);
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "fdDir is:%s", path.c_str());
    if (writeLinks(path, file)) {
        syncFile(file);
    }
}

void syncFile(const std::string& file) {
    // Without close-on-exec, unlike everywhere else: these flags are fixed. Nothing here execs.
    base::unique_fd output(open(file.c_str(), O_WRONLY));
    if (output.get() < 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Error opening file for syncing");
        return;
    }
    if (fsync(output.get()) == -1) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Error syncing file");
    }
}

}  // namespace android
