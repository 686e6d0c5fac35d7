#include "diagnostics/TraceDumpJob.h"

#include <filesystem>
#include <system_error>
#include <thread>

#include "binderlog/BinderLogParser.h"
#include "diagnostics/LineWriter.h"
#include "diagnostics/OutgoingTransactionReport.h"
#include "diagnostics/String16Conversion.h"
#include "diagnostics/TraceDumpWorker.h"
#include "logging/LogLine.h"

namespace android {

namespace {

namespace fs = std::filesystem;

constexpr char kJob[] = "dumpTraceAndBinderInfo";

// The directory is examined with the throwing form on purpose: one that is there but can't be
// looked at ends the process.
bool ensureDirectory(const fs::path& directory) {
    if (fs::exists(fs::status(directory))) {
        LOG_LINE(ANDROID_LOG_DEBUG, kJob, "Directory exists: %s", directory.c_str());
        return true;
    }
    std::error_code error;
    if (fs::create_directories(directory, error)) {
        LOG_LINE(ANDROID_LOG_INFO, kJob, "Created directory: %s", directory.c_str());
    } else if (error) {
        LOG_LINE(ANDROID_LOG_ERROR, kJob, "Failed to create directory: %s [error: %s]",
                 directory.c_str(), error.message().c_str());
        return false;
    }
    return true;
}

// Reports on pid into the output file and takes the peers that the report found. False when the
// file can't be opened.
bool writeBinderInfo(int pid, TraceDumpTask* task) {
    std::vector<std::string> lines;
    BinderLogParser parser;
    if (parser.parse(kBinderLogPath)) {
        getBinderTransactions(pid, parser, &lines, &task->javaPids, &task->nativePids, nullptr,
                              nullptr, nullptr, nullptr, nullptr);
    }
    LineWriter writer(task->file, LineWriter::Mode::Append);
    if (!writer.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, kJob, "Failed to open file: %s", task->file.c_str());
        return false;
    }
    writer.writeLine("Binder Info:");
    for (const std::string& line : lines) {
        writer.writeLine(line);
    }
    if (lines.empty()) {
        writer.writeLine("No binder info found");
    }
    return true;
}

}  // namespace

void dumpTraceAndBinderInfo(int pid, bool withBinderInfo, const std::vector<String16>& names,
                            const String16& file) {
    TraceDumpTask task;
    task.file = string16ToString(file);
    task.withBinderInfo = withBinderInfo;
    for (const String16& name : names) {
        task.names.push_back(string16ToString(name));
    }
    if (!ensureDirectory(fs::path(task.file).parent_path())) {
        return;
    }
    if (withBinderInfo && !writeBinderInfo(pid, &task)) {
        return;
    }
    std::thread(runTraceDump, std::move(task)).detach();
}

}  // namespace android
