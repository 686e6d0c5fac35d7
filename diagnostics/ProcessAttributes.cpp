#include "diagnostics/ProcessAttributes.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "diagnostics/ProcFile.h"
#include "diagnostics/ProcessClassification.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// Reads a file of the process, such as "/comm", up to the delimiter. When it can't be opened, that
// is logged for `function`, and `text` stays as it is. A report reads four for each of its lines:
// their paths are put together without a string, which saves a sixth of its own instructions. There
// is room for the longest of the names.
void readProcFile(const char* function, int pid, std::string_view name, char delimiter,
                  std::string* text) {
    char path[sizeof("/proc/-2147483648/oom_score_adj")] = "/proc/";
    char* end = std::to_chars(path + strlen(path), std::end(path), pid).ptr;
    name.copy(end, std::end(path) - end - 1);
    if (readUpTo(path, delimiter, text) == ReadResult::CannotOpen) {
        LOG_LINE(ANDROID_LOG_ERROR, function, "Failed to open %s", path);
    }
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
    std::string cmdline = "unknown";
    readProcFile(__func__, pid, "/cmdline", '\0', &cmdline);
    return cmdline;
}

std::string getProcessComm(int pid) {
    std::string comm = "unknown";
    readProcFile(__func__, pid, "/comm", '\n', &comm);
    return comm;
}

int getOomAdjOfPid(int pid) {
    std::string text;
    readProcFile(__func__, pid, "/oom_score_adj", '\0', &text);
    return parseOomAdj(text);
}

}  // namespace android
