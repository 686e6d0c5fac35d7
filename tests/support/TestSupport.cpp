#include "tests/support/TestSupport.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace android::test {

std::string testFile(const std::string& name) {
    // First asked for while /proc is the real one: some tests have one of their own.
    static std::error_code sIsMissing;
    static const auto sProgram = std::filesystem::read_symlink("/proc/self/exe", sIsMissing);
    const auto path = sProgram.parent_path() / TEST_FILES / name;
    // A fuzzer's are a folder below.
    return std::filesystem::exists(path) ? path
                                         : sProgram.parent_path() / "data" / TEST_FILES / name;
}

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();  // an iterator would throw read errors
    return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::error_code isThere;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), isThere);
    std::ofstream(path, std::ios::binary) << text;
}

Texts linesOf(const std::string& text) {
    Texts lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string unescape(const std::string& text) {
    static const std::string kNames = "rnvft0s\\";
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\x") == 0) {
            result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            bool isEscape = text[i] == '\\' && i + 1 < text.size();
            result += isEscape ? "\r\n\v\f\t\0 \\"[kNames.find(text[++i])] : text[i];
        }
    }
    return result;
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) {
        ++found;
    }
    return found;
}

bool eventually(const std::function<bool()>& isTrue, int seconds) {
    const time_t end = time(nullptr) + seconds;
    while (!isTrue()) {
        if (time(nullptr) > end) {
            return false;
        }
        usleep(1000);
    }
    return true;
}

std::string outputOf(const std::string& shellCommand) {
    std::string text;
    FILE* pipe = popen(shellCommand.c_str(), "r");
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) {
        text += static_cast<char>(c);
    }
    pclose(pipe);
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

std::string abiName() {
    return outputOf("uname -m | sed s/aarch64/arm64/");
}

std::string procFile(pid_t pid, const std::string& name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

std::string statusOf(pid_t pid, const std::string& field) {
    const std::string start = field + ":\t";
    for (const std::string& line : linesOf(readFile(procFile(pid, "status")))) {
        if (line.rfind(start, 0) == 0) {
            return line.substr(start.size());
        }
    }
    return "";
}

}  // namespace android::test
