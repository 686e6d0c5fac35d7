#include "tests/support/LogCapture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <ostream>
#include <utility>

namespace android::test {

namespace {

std::mutex sLock;

std::vector<LogEntry>& entries() {
    static std::vector<LogEntry> all;  // the first lines come during static initialisation
    return all;
}

std::string format(const char* form, va_list arguments) {
    char* text = nullptr;
    int size = vasprintf(&text, form, arguments);
    std::string result(text, size);
    free(text);
    return result;
}

// "main:17: message" becomes "main:LINE: message"; a line without the prefix is marked.
std::string maskLine(const std::string& text) {
    size_t colon = text.find(':');
    size_t end = text.find(": ", colon + 1);
    if (colon == std::string::npos || end == std::string::npos ||
        text.find_first_not_of("0123456789", colon + 1) != end) {
        return "NO PREFIX: " + text;
    }
    return text.substr(0, colon) + ":LINE" + text.substr(end);
}

void add(LogEntry entry) {
    std::lock_guard<std::mutex> guard(sLock);
    entries().push_back(std::move(entry));
}

LogEntry line(int priority, const std::string& function, const std::string& message) {
    return {kMainLog, priority, "(null)", function + ":LINE: " + message};
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogEntry& entry) {
    return out << "{buffer " << entry.buffer << ", priority " << entry.priority << ", tag "
               << entry.tag << ", \"" << entry.text << "\"}";
}

LogEntry debug(const std::string& function, const std::string& message) {
    return line(ANDROID_LOG_DEBUG, function, message);
}

LogEntry info(const std::string& function, const std::string& message) {
    return line(ANDROID_LOG_INFO, function, message);
}

LogEntry error(const std::string& function, const std::string& message) {
    return line(ANDROID_LOG_ERROR, function, message);
}

LogEntry system(const std::string& tag, const std::string& message) {
    return {kSystemLog, ANDROID_LOG_WARN, tag, message};
}

std::vector<LogEntry> takeLog() {
    std::lock_guard<std::mutex> guard(sLock);
    return std::exchange(entries(), {});
}

std::vector<LogEntry> takeLogWithoutDebug() {
    std::vector<LogEntry> all = takeLog();
    all.erase(
            std::remove_if(all.begin(), all.end(),
                           [](const LogEntry& each) { return each.priority == ANDROID_LOG_DEBUG; }),
            all.end());
    return all;
}

}  // namespace android::test

// These take precedence over the log library's own.
extern "C" int __android_log_print(int priority, const char* tag, const char* form, ...) {
    va_list arguments;
    va_start(arguments, form);
    std::string text = android::test::format(form, arguments);
    va_end(arguments);
    android::test::add({android::test::kMainLog, priority, tag == nullptr ? "(null)" : tag,
                        android::test::maskLine(text)});
    return 1;
}

extern "C" int __android_log_buf_print(int buffer, int priority, const char* tag, const char* form,
                                       ...) {
    va_list arguments;
    va_start(arguments, form);
    std::string text = android::test::format(form, arguments);
    va_end(arguments);
    android::test::add({buffer, priority, tag == nullptr ? "(null)" : tag, text});
    return 1;
}
