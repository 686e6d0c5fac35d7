#include "host/debuggerd/ProcFile.h"

#include <android-base/file.h>
#include <stdlib.h>

namespace debuggerd {

namespace {
// A JVM's class path alone can have a hundred kilobytes.
constexpr size_t kLongestCommandLine = 4096;
}  // namespace

std::string procPath(pid_t pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

std::string taskPath(pid_t pid, pid_t tid, const char* name) {
    return procPath(pid, "task/") + std::to_string(tid) + "/" + name;
}

std::string readProcFile(const std::string& path) {
    std::string text;
    if (!android::base::ReadFileToString(path, &text)) {
        text.clear();
    }
    return text;
}

std::string statusField(const std::string& status, const std::string& name) {
    // The first line is the name, in which the kernel escapes line ends: this can't be forged.
    std::string start = "\n" + name + ":\t";
    size_t found = status.find(start);
    if (found == std::string::npos) {
        return "";
    }
    found += start.size();
    return status.substr(found, status.find('\n', found) - found);
}

pid_t processOf(pid_t tid) {
    return atoi(statusField(readProcFile(procPath(tid, "status")), "Tgid").c_str());
}

std::string commandLine(pid_t pid) {
    std::string text = readProcFile(procPath(pid, "cmdline")).substr(0, kLongestCommandLine);
    text.resize(text.find_last_not_of('\0') + 1);
    return text.empty() ? "<unknown>" : oneLine(text);
}

std::string oneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') {
            c = ' ';
        }
    }
    return text;
}

}  // namespace debuggerd
