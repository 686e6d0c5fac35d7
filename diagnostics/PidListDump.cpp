#include "diagnostics/PidListDump.h"

#include "diagnostics/BacktraceCapture.h"
#include "diagnostics/CaptureBounds.h"
#include "diagnostics/ElapsedSeconds.h"
#include "diagnostics/LineWriter.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// The writer is closed on return: the captures open the file again.
bool writeSubject(const std::string& subject, const std::string& file) {
    LineWriter writer(file, LineWriter::Mode::Replace);
    if (!writer.isOpen()) {
        return false;
    }
    writer.writeLine(subject);
    return true;
}

}  // namespace

void dumpTraceForAllProcess(const std::vector<int>& pids, const std::string& subject,
                            const std::string& file) {
    if (!writeSubject(subject, file)) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to write subject to file");
        return;
    }
    ElapsedSeconds elapsed;
    for (int pid : pids) {
        int remaining = elapsed.leftOf(kListTimeoutSecs);
        if (remaining <= 0) {
            LOG_LINE(ANDROID_LOG_ERROR, __func__,
                     "Total timeout reached, aborting remaining processes");
            break;
        }
        dumpBacktraceToFileTimeout(pid, remaining, file);
    }
    // At ERROR though it went well, like the captures' own lines.
    LOG_LINE(ANDROID_LOG_ERROR, __func__, "Dump trace for all processes done");
}

}  // namespace android
