#ifndef STALLSCOPE_LOGGING_STALLSCOPELOGGER_H
#define STALLSCOPE_LOGGING_STALLSCOPELOGGER_H

#include <cutils/properties.h>
#include <strings.h>

namespace android {

// The debug switch of the whole process.
class StallScopeLogger {
  public:
    StallScopeLogger() = delete;

    // True when DEBUG lines are to be written. The property is read once, on the first call from
    // any thread; a later change shows only after a restart. Inline, so that every source shares
    // the one flag.
    static bool isDebugEnabled() {
        static const bool enabled = [] {
            char value[PROPERTY_VALUE_MAX] = {};
            property_get("persist.sys.stability.stallscope.debug.enable", value, "0");
            if (value[0] == '1' && value[1] == '\0') {
                return true;
            }
            return strcasecmp(value, "true") == 0;
        }();
        return enabled;
    }
};

}  // namespace android

#endif  // STALLSCOPE_LOGGING_STALLSCOPELOGGER_H
