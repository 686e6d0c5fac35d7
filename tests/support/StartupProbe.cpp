#include <cstdio>

#include "binderlog/KernelLogFormat.h"
#include "diagnostics/AdvancedLogging.h"
#include "service/StallScopeLogger.h"
#include "tests/support/LogCapture.h"

// Prints what is fixed before main, and what was logged on the way.
int main() {
    printf("%s format, debug %s, %zu name\n", android::supportNewBinderLogFormat ? "new" : "old",
           android::StallScopeLogger::isDebugEnabled() ? "on" : "off",
           android::kShellJavaProcessNames.size());
    for (const android::test::LogEntry& entry : android::test::takeLog()) {
        printf("%d %s %s\n", entry.priority, entry.tag.c_str(), entry.text.c_str());
    }
    return 0;
}
