#include <cstdio>

#include "binderlog/KernelLogFormat.h"
#include "diagnostics/AdvancedLogging.h"
#include "logging/StallScopeLogger.h"
#include "tests/support/LogCapture.h"

// The address sanitizer's leak check fails without the real /proc.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}

// Prints what is fixed before main, and what was logged on the way.
int main() {
    printf("%s format, debug %s, %s\n", android::supportNewBinderLogFormat ? "new" : "old",
           android::StallScopeLogger::isDebugEnabled() ? "on" : "off",
           android::kShellJavaProcessNames.at(0).c_str());
    for (const std::string& line : android::test::takeLog()) {
        printf("%s\n", line.c_str());
    }
    return 0;
}
