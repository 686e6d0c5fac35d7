// Preloaded into the daemon in the guest: takes the log library's place and appends each line to
// the file LOG_RECORD, where tests see what no log reader shows, such as a missing tag.

#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// One write for each line, so that lines of several threads and processes never mix. Lines of the
// main buffer without a tag are "E text", others "E <buffer>/<tag>: text".
static void record(int buffer, int priority, const char* tag, const char* format, va_list values) {
    char origin[100] = "";
    char* text = nullptr;
    char* line = nullptr;
    if (buffer != 0 || tag != nullptr) {
        snprintf(origin, sizeof(origin), "%d/%s: ", buffer, tag == nullptr ? "(null)" : tag);
    }
    if (vasprintf(&text, format, values) != -1 &&
        asprintf(&line, "%c %s%s\n", "??VDIWEF"[priority], origin, text) != -1) {
        int fd = open(LOG_RECORD, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        (void)!write(fd, line, strlen(line));
        close(fd);
    }
    free(line);
    free(text);
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
