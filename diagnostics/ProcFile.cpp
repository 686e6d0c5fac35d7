#include "diagnostics/ProcFile.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace android {

ReadResult readUpTo(const char* path, char delimiter, std::string* text) {
    base::unique_fd file(TEMP_FAILURE_RETRY(open(path, O_RDONLY | O_CLOEXEC)));
    if (file.get() < 0) {
        return ReadResult::CannotOpen;
    }
    text->clear();
    char buffer[1024];
    ReadResult result = ReadResult::Nothing;
    for (;;) {
        ssize_t count = TEMP_FAILURE_RETRY(read(file.get(), buffer, sizeof(buffer)));
        if (count <= 0) {
            return result;
        }
        result = ReadResult::Text;
        const char* end = static_cast<const char*>(memchr(buffer, delimiter, count));
        text->append(buffer, end == nullptr ? count : end - buffer);
        if (end != nullptr) {
            return result;
        }
    }
}

}  // namespace android
