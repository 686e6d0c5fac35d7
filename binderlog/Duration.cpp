#include "binderlog/Duration.h"

#include <cerrno>
#include <cstdlib>

#include "logging/LogLine.h"

namespace android {

double extractDuration(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    double seconds = strtod(text.c_str(), &end);
    if (end != text.c_str() && errno != ERANGE) {
        return seconds;
    }
    LOG_LINE(ANDROID_LOG_ERROR, __func__, "Duration parse error : %s", text.c_str());
    // errno stays as strtod left it, so that a duration out of strtod's range gives 0.0 as well.
    long whole = strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE) {
        return 0.0;
    }
    return static_cast<double>(whole);
}

}  // namespace android
