#include "diagnostics/TransactionRules.h"

#include "logging/LogLine.h"

namespace android {

namespace {

constexpr double kLongCallSecs = 2.0;

}  // namespace

bool requireProcess(const char* function, int pid, const BinderLogParser& parser) {
    if (parser.hasProcess(pid)) {
        return true;
    }
    LOG_LINE(ANDROID_LOG_ERROR, function, "No transactions found for pid %d", pid);
    return false;
}

bool leadsOn(int pid, const BinderTransaction& call) {
    return call.fromPid == pid && call.toPid >= 1 && call.toPid != pid;
}

bool isLongMainThreadCall(const BinderTransaction& call) {
    return call.elapsed > kLongCallSecs && call.fromPid == call.fromTid;
}

}  // namespace android
