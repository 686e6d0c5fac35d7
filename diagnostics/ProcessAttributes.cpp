#include "diagnostics/ProcessAttributes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "diagnostics/ProcFile.h"
#include "diagnostics/ProcessClassification.h"
#include "logging/LogLine.h"

namespace android {

namespace {

std::string procPath(int pid, const char* file) {
    return "/proc/" + std::to_string(pid) + file;
}

// `text` as the kernel writes it: "-900\n". What is not a number leaves the default.
int parseOomAdj(const std::string& text) {
    char* end = nullptr;
    long value = strtol(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        return kOomAdjNative;
    }
    constexpr long kLowest = std::numeric_limits<int>::min();
    constexpr long kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, kLowest, kHighest));
}

}  // namespace

std::string getProcessCmdline(int pid) {
    std::string path = procPath(pid, "/cmdline");
    std::string cmdline = "unknown";
    if (readUpTo(path, '\0', &cmdline) == ReadResult::CannotOpen) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to open %s", path.c_str());
    }
    return cmdline;
}

std::string getProcessComm(int pid) {
    std::string path = procPath(pid, "/comm");
    std::string comm = "unknown";
    if (readUpTo(path, '\n', &comm) == ReadResult::CannotOpen) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to open %s", path.c_str());
    }
    return comm;
}

int getOomAdjOfPid(int pid) {
    std::string path = procPath(pid, "/oom_score_adj");
    std::string text;
    if (readUpTo(path, '\0', &text) == ReadResult::CannotOpen) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to open %s", path.c_str());
    }
    return parseOomAdj(text);
}

}  // namespace android
