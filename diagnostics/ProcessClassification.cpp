#include "diagnostics/ProcessClassification.h"

#include "diagnostics/TransactionRules.h"
#include "logging/LogLine.h"

namespace android {

ProcessType classifyOomAdj(int adj) {
    if (adj == kOomAdjNative) {
        return ProcessType::Native;
    }
    if (adj == kOomAdjShell) {
        return ProcessType::Shell;
    }
    if (adj < kOomAdjSystem || adj > kOomAdjMax) {
        return ProcessType::Unknown;
    }
    return ProcessType::Java;
}

bool isShellJavaProcess(const std::string& cmdline) {
    return containsText(kShellJavaProcessNames, cmdline);
}

bool isPidInLists(const char* function, const std::string& pid,
                  const std::vector<std::string>* javaPids,
                  const std::vector<std::string>* nativePids) {
    bool isListed = (javaPids != nullptr && containsText(*javaPids, pid)) ||
                    (nativePids != nullptr && containsText(*nativePids, pid));
    if (isListed) {
        LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is in list", pid.c_str());
    }
    return isListed;
}

}  // namespace android
