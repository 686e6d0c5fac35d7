// Preloaded into the daemon in the guest: takes the log library's place and appends each line to
// the file LOG_RECORD, where tests see what no log reader shows, such as a missing tag.

#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

// One write for each line, so that lines of several threads and processes never mix. Lines of the
// main buffer without a tag are "E text", others "E <buffer>/<tag>: text".
static void record(int buffer, int priority, const char* tag, const char* format, va_list values) {
    char* text = nullptr;
    if (vasprintf(&text, format, values) == -1) {
        return;
    }
    std::string line{"??VDIWEF"[priority], ' '};
    if (buffer != 0 || tag != nullptr) {
        line += std::to_string(buffer) + "/" + (tag == nullptr ? "(null)" : tag) + ": ";
    }
    line = line + text + "\n";
    free(text);
    int fd = open(LOG_RECORD, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    (void)!write(fd, line.data(), line.size());
    close(fd);
}

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list values;
    va_start(values, format);
    record(0, priority, tag, format, values);
    va_end(values);
    return 1;
}

extern "C" int __android_log_buf_print(int buffer, int priority, const char* tag,
                                       const char* format, ...) {
    va_list values;
    va_start(values, format);
    record(buffer, priority, tag, format, values);
    va_end(values);
    return 1;
}
