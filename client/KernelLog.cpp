#include "client/KernelLog.h"

#include <android-base/file.h>

#include <algorithm>

namespace android {

namespace {

size_t longestLine(std::string_view log) {
    size_t longest = 0;
    while (!log.empty()) {
        const size_t end = log.find('\n');
        const size_t length = end == std::string_view::npos ? log.size() : end + 1;
        longest = std::max(longest, length);
        log.remove_prefix(length);
    }
    return longest;
}

}  // namespace

bool mayBeCut(std::string_view log) {
    size_t buffer = 4096;
    while (buffer <= log.size()) {
        buffer *= 2;
    }
    return buffer - log.size() <= longestLine(log);
}

void noteCutLog(const std::string& path, Report* report) {
    std::string log;
    if (!base::ReadFileToString(path, &log, true) || !mayBeCut(log)) {
        return;
    }
    report->flag("logMayBeCut", true);
    report->say("");
    report->say(
            "Note: the kernel's log is " + std::to_string(log.size()) +
            " bytes long, a length at which the kernel may have dropped the rest of it without a "
            "word. Calls may be missing above; ask again, or see stallscopectl analyze.");
}

}  // namespace android
