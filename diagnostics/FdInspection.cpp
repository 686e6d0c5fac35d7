#include "diagnostics/FdInspection.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include "diagnostics/Directory.h"
#include "diagnostics/LineWriter.h"
#include "logging/LogLine.h"

namespace android {

namespace {

std::string fdDirectoryOf(int pid) {
    return "/proc/" + std::to_string(pid) + "/fd";
}

void writeLink(const std::string& link, LineWriter* writer) {
    char target[4096] = {};
    if (readlink(link.c_str(), target, sizeof(target) - 1) == -1) {
        // Closed since the directory was read.
        LOG_LINE(ANDROID_LOG_ERROR, "writeFdInfoToFile", "Error reading link %s", link.c_str());
        return;
    }
    writer->writeLine(link + " -> " + target);
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
    Directory directory(path);
    if (!directory.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "open fdDir fail!");
        return;
    }
    {
        LineWriter writer(file, LineWriter::Mode::Replace);
        if (!writer.isOpen()) {
            LOG_LINE(ANDROID_LOG_ERROR, __func__, "open filePath fail: %s", file.c_str());
            return;
        }
        while (const dirent* entry = directory.next()) {
            std::string name = entry->d_name;
            if (name != "." && name != "..") {
                writeLink(path + "/" + name, &writer);
            }
        }
    }
    syncFile(file);
}

void syncFile(const std::string& file) {
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
