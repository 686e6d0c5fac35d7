// property_get for the host: each property is a file of its name in one folder.

#include <cutils/properties.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

constexpr char kDefaultDirectory[] = "/run/stallscope/properties";

std::string pathOf(const char* name) {
    const char* directory = getenv("STALLSCOPE_PROPERTY_DIR");
    return std::string(directory == nullptr ? kDefaultDirectory : directory) + "/" + name;
}

// Reads at most size bytes; 0 when there is no such file.
size_t readStart(const std::string& path, char* buffer, size_t size) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        return 0;
    size_t length = 0;
    while (length < size) {
        const ssize_t got = read(fd, buffer + length, size - length);
        if (got == -1 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        length += static_cast<size_t>(got);
    }
    close(fd);
    return length;
}

// The value without the newline that an editor or echo leaves; 0 when it is not a possible value.
size_t readValue(const char* name, char (&value)[PROPERTY_VALUE_MAX + 1]) {
    size_t length = readStart(pathOf(name), value, sizeof(value));
    if (length > 0 && value[length - 1] == '\n')
        --length;
    if (length >= PROPERTY_VALUE_MAX)
        return 0;
    value[length] = '\0';
    return strlen(value);
}

}  // namespace

// A device refuses to set a value that is too long; here such a file counts as not set.
extern "C" int property_get(const char* key, char* value, const char* defaultValue) {
    char found[PROPERTY_VALUE_MAX + 1];
    size_t length = readValue(key, found);
    const char* source = found;
    if (length == 0 && defaultValue != nullptr) {
        source = defaultValue;
        length = strnlen(defaultValue, PROPERTY_VALUE_MAX - 1);
    }
    memcpy(value, source, length);
    value[length] = '\0';
    return static_cast<int>(length);
}
