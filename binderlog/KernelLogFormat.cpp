#include "binderlog/KernelLogFormat.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "logging/LogLine.h"

namespace android {

const bool supportNewBinderLogFormat = [] {
    utsname kernel = {};
    if (uname(&kernel) != 0) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to call uname: %s", strerror(errno));
        return false;
    }
    int major = 0;
    int minor = 0;
    // A release such as "6.1.75-android14". The numbers are compared as integers: 6.10 is newer
    // than 6.1.
    if (sscanf(kernel.release, "%d.%d", &major, &minor) != 2) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Failed to parse kernel version: %s", kernel.release);
        return false;
    }
    if (major > 6 || (major == 6 && minor >= 1)) {
        LOG_LINE(ANDROID_LOG_INFO, __func__,
                 "Kernel version %s >= 6.1, support new binder log format", kernel.release);
        return true;
    }
    LOG_LINE(ANDROID_LOG_INFO, __func__, "Kernel version %s < 6.1, support old binder log format",
             kernel.release);
    return false;
}();

}  // namespace android
