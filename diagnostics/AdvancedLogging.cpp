#include "diagnostics/AdvancedLogging.h"

#include <fstream>
#include <regex>

#include "logging/LogLine.h"

namespace android {

// Here and not beside its only user for the sake of the check below: a linker takes this source out
// of the library for the list alone, and the check comes along.
const std::vector<std::string> kShellJavaProcessNames = {"com.android.commands.monkey"};

namespace {

constexpr double kNewFormatKernel = 6.1;

// Looks for a kernel of the new log format in proc/version, which is relative on purpose: the
// daemon is started in "/". The answer is not used any more, KernelLogFormat.h has the one that is;
// what remains of it is that a daemon started elsewhere says so in the log, in the name of
// operator(), as a lambda is called.
[[maybe_unused]] const bool sIsNewKernel = [] {
    constexpr char kPath[] = "proc/version";
    std::ifstream file(kPath);
    if (!file.is_open()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Can't open file: %s", kPath);
        return false;
    }
    // Linux version 6.1.75-android14-11-g48b922851ac5 (build-user@build-host) ...
    const std::regex pattern("\\bLinux version\\s+(\\d+\\.\\d+).");
    std::string line;
    std::smatch match;
    while (std::getline(file, line)) {
        if (std::regex_search(line, match, pattern) && std::stod(match[1]) >= kNewFormatKernel) {
            return true;
        }
    }
    return false;
}();

}  // namespace

}  // namespace android
