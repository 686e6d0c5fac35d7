#include "analysis/input/LineEnds.h"

#include <cstring>

namespace stallscope {

size_t dropReturns(char* text, size_t size) {
    char* end = text + size;
    auto* newline = static_cast<char*>(memchr(text, '\n', size));
    if (newline == nullptr || newline == text || newline[-1] != '\r') {
        return size;
    }
    char* to = newline - 1;
    for (char* from = newline; from != end;) {
        newline = static_cast<char*>(memchr(from + 1, '\n', end - from - 1));
        char* stop = newline == nullptr ? end : newline;
        size_t length = stop - from;
        memmove(to, from, length);
        to += length - (newline != nullptr && length > 1 && stop[-1] == '\r' ? 1 : 0);
        from = stop;
    }
    return to - text;
}

}  // namespace stallscope
