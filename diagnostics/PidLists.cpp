#include "diagnostics/PidLists.h"

#include "diagnostics/TextList.h"
#include "logging/LogLine.h"

namespace android {

bool isPidInLists(const char* function, const std::string& pid, const PidLists& lists) {
    bool isListed = (lists.javaPids != nullptr && containsText(*lists.javaPids, pid)) ||
                    (lists.nativePids != nullptr && containsText(*lists.nativePids, pid));
    if (isListed) {
        LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is in list", pid.c_str());
    }
    return isListed;
}

bool addPid(const char* function, const std::string& pid, ProcessType type,
            const std::string* shellCmdline, const PidLists& lists) {
    std::vector<std::string>* list = nullptr;
    switch (type) {
        case ProcessType::Native:
            LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is Native process", pid.c_str());
            list = lists.nativePids;
            break;
        case ProcessType::Java:
            LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is Java process", pid.c_str());
            list = lists.javaPids;
            break;
        case ProcessType::Shell:
            if (shellCmdline != nullptr) {
                LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is shell process", pid.c_str());
                bool isJava = containsText(kShellJavaProcessNames, *shellCmdline);
                list = isJava ? lists.javaPids : lists.nativePids;
            }
            break;
        case ProcessType::Unknown:
            if (shellCmdline != nullptr) {
                LOG_LINE(ANDROID_LOG_DEBUG, function, "%s is Unknown process", pid.c_str());
            }
            break;
    }
    if (list == nullptr) {
        return false;
    }
    list->push_back(pid);
    return true;
}

}  // namespace android
