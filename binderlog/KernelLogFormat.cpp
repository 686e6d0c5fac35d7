#include "binderlog/KernelLogFormat.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "logging/LogLine.h"

namespace android {

std::optional<bool> isNewFormatRelease(const char* release) {
    int major = 0;
    int minor = 0;
    if (sscanf(release, "%d.%d", &major, &minor) != 2) {
        return std::nullopt;
    }
    // As integers: 6.10 is newer than 6.1.
    return major > 6 || (major == 6 && minor >= 1);
}

// A lambda's name is operator(), and so people find these lines in the log under that name.
const bool supportNewBinderLogFormat = [] {
    utsname kernel = {};
    if (uname(&kernel) != 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to call uname: %s", strerror(errno));
        return false;
    }
    std::optional<bool> isNew = isNewFormatRelease(kernel.release);
    if (!isNew) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to parse kernel version: %s", kernel.release);
        return false;
    }
    if (*isNew) {
        LOG_LINE(ANDROID_LOG_INFO, __func__,
                 "Kernel version %s >= 6.1, support new binder log format", kernel.release);
    } else {
        LOG_LINE(ANDROID_LOG_INFO, __func__,
                 "Kernel version %s < 6.1, support old binder log format", kernel.release);
    }
    return *isNew;
}();

}  // namespace android
