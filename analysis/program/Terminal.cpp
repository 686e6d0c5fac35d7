#include "analysis/program/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace stallscope {

TextOptions askTerminal() {
    constexpr int kPlainHeight = 40;
    TextOptions options;
    if (isatty(STDOUT_FILENO) == 0) {
        options.width = 0;
        options.height = kPlainHeight;
        return options;
    }
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        options.width = size.ws_col;
        options.height = size.ws_row;
    }
    const char* noColour = getenv("NO_COLOR");
    const char* terminal = getenv("TERM");
    bool isDumb = terminal == nullptr || strcmp(terminal, "dumb") == 0;
    options.hasColour = !isDumb && (noColour == nullptr || *noColour == '\0');
    return options;
}

}  // namespace stallscope
