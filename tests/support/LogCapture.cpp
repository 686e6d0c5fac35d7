#include "tests/support/LogCapture.h"

#include <android-base/stringprintf.h>
#include <android/log.h>

#include <algorithm>
#include <cstdarg>
#include <mutex>
#include <utility>

namespace android::test {

namespace {

std::mutex sLock;

Texts& log() {
    static Texts lines;  // the first lines come during static initialisation
    return lines;
}

// "main:17: message" becomes "main: message"; a line without the prefix is marked.
std::string withoutSourceLine(const std::string& text) {
    size_t begin = text.find(":") + 1;
    size_t end = text.find_first_not_of("0123456789", begin);
    bool hasPrefix =
            begin > 1 && end > begin && end != std::string::npos && text.compare(end, 2, ": ") == 0;
    return hasPrefix ? text.substr(0, begin - 1) + text.substr(end) : "NO PREFIX: " + text;
}

void add(int buffer, int priority, const char* tag, const char* form, va_list arguments) {
    std::string text;
    base::StringAppendV(&text, form, arguments);
    bool isOrdinary = buffer == LOG_ID_MAIN && tag == nullptr;
    std::string origin = std::to_string(buffer) + "/" + (tag == nullptr ? "" : tag) + ": ";
    text = isOrdinary ? withoutSourceLine(text) : origin + text;
    std::lock_guard<std::mutex> guard(sLock);
    log().push_back(std::string(1, "??VDIWEF"[priority]) + " " + text);
}

}  // namespace

Texts takeLog(const std::string& priorities) {
    std::lock_guard<std::mutex> guard(sLock);
    Texts lines = std::exchange(log(), {});
    auto isDropped = [&](const std::string& line) {
        return priorities.find(line[0]) == std::string::npos;
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isDropped), lines.end());
    return lines;
}

Texts takeLogWithoutDebug() {
    return takeLog("IWE");
}

Texts loggedBy(const std::string& function, Texts lines) {
    for (std::string& line : lines) {
        line.insert(1, " " + function + ":");
    }
    return lines;
}

}  // namespace android::test

// These take precedence over the log library's own.
extern "C" int __android_log_print(int priority, const char* tag, const char* form, ...) {
    va_list arguments;
    va_start(arguments, form);
    android::test::add(LOG_ID_MAIN, priority, tag, form, arguments);
    va_end(arguments);
    return 1;
}

extern "C" int __android_log_buf_print(int buffer, int priority, const char* tag, const char* form,
                                       ...) {
    va_list arguments;
    va_start(arguments, form);
    android::test::add(buffer, priority, tag, form, arguments);
    va_end(arguments);
    return 1;
}
