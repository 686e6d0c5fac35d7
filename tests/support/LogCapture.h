#ifndef STALLSCOPE_TESTS_LOGCAPTURE_H
#define STALLSCOPE_TESTS_LOGCAPTURE_H

#include <android/log.h>

#include <string>
#include <vector>

namespace android::test {

constexpr int kMainLog = 0;
constexpr int kSystemLog = 3;

// One line as it was handed to the log library, which the test executable replaces.
struct LogEntry {
    int buffer = kMainLog;
    int priority = 0;
    std::string tag;  // "(null)" for the default tag
    std::string text;

    bool operator==(const LogEntry& other) const {
        return buffer == other.buffer && priority == other.priority && tag == other.tag &&
               text == other.text;
    }
};

// For test failures to print.
std::ostream& operator<<(std::ostream& out, const LogEntry& entry);

// A line of the ordinary form with the default tag: "function:LINE: message". Source lines are
// written as "LINE", so that tests need not know them.
LogEntry debug(const std::string& function, const std::string& message);
LogEntry info(const std::string& function, const std::string& message);
LogEntry error(const std::string& function, const std::string& message);

// A line in the system log under a client's tag.
LogEntry system(const std::string& tag, const std::string& message);

// What was logged since the last call, by any thread.
std::vector<LogEntry> takeLog();

// The same without the DEBUG lines.
std::vector<LogEntry> takeLogWithoutDebug();

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_LOGCAPTURE_H
