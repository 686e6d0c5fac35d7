#ifndef STALLSCOPE_LOGGING_LOGLINE_H
#define STALLSCOPE_LOGGING_LOGLINE_H

#include <android/log.h>

#include "logging/StallScopeLogger.h"

// The tag of the lines of a source; null is the log library's default tag. A source that has a tag
// of its own defines it before its includes.
#ifndef STALLSCOPE_LOG_TAG
#define STALLSCOPE_LOG_TAG nullptr
#endif

// Writes one log line in the name of `function`: "function:line: message". DEBUG lines are written
// only while the debug switch is on. `message` is a format literal. Most lines pass __func__; a
// helper passes the name of the function that it works for, since that is what people search for.
#define LOG_LINE(priority, function, message, ...)                                              \
    do {                                                                                        \
        if ((priority) != ANDROID_LOG_DEBUG || ::android::StallScopeLogger::isDebugEnabled()) { \
            __android_log_print(priority, STALLSCOPE_LOG_TAG, "%s:%d: " message, function,      \
                                __LINE__, ##__VA_ARGS__);                                       \
        }                                                                                       \
    } while (false)

#endif  // STALLSCOPE_LOGGING_LOGLINE_H
