// Takes the log library's place. Linked into a test program, each line is an event. As a library
// preloaded into the daemon in the guest, each is appended to the file LOG_RECORD, where tests see
// what no log reader shows, such as a missing tag.

#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#ifndef LOG_RECORD
#include "tests/support/Events.h"
using android::test::addEvent;
#else
// One write for each line, so that lines of several threads and processes never mix.
static void addEvent(const std::string& line) {
    int fd = open(LOG_RECORD, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    (void)!write(fd, (line + "\n").data(), line.size() + 1);
    close(fd);
}
#endif

// "main:17: message" becomes "main: message"; a line without the prefix is marked.
static std::string withoutSourceLine(const std::string& text) {
    size_t begin = text.find(':') + 1;
    size_t end = text.find_first_not_of("0123456789", begin);
    bool hasPrefix =
            begin > 1 && end > begin && end != std::string::npos && text.compare(end, 2, ": ") == 0;
    return hasPrefix ? text.substr(0, begin - 1) + text.substr(end) : "NO PREFIX: " + text;
}

static void add(int buffer, int priority, const char* tag, const char* form, va_list values) {
    char text[16 * 1024];
    vsnprintf(text, sizeof(text), form, values);
    std::string line = std::string(1, "??VDIWEF"[priority]) + " ";
    if (buffer != LOG_ID_MAIN || tag != nullptr) {
        line += std::to_string(buffer) + "/" + (tag == nullptr ? "(null)" : tag) + ": ";
    }
    addEvent(line + (buffer == LOG_ID_MAIN ? withoutSourceLine(text) : text));
}

extern "C" int __android_log_print(int priority, const char* tag, const char* form, ...) {
    va_list values;
    va_start(values, form);
    add(LOG_ID_MAIN, priority, tag, form, values);
    va_end(values);
    return 1;
}

extern "C" int __android_log_buf_print(int buffer, int priority, const char* tag, const char* form,
                                       ...) {
    va_list values;
    va_start(values, form);
    add(buffer, priority, tag, form, values);
    va_end(values);
    return 1;
}
