#include "tests/guest/KernelCalls.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <regex>

namespace android::test {

namespace {

// Up to the first `end`.
std::string startOf(const std::string& file, char end) {
    std::string text = "unknown";
    std::ifstream stream(file, std::ios::binary);
    if (stream.is_open()) {
        std::getline(stream, text, end);
    }
    return text;
}

std::string endpoint(const std::string& pid, const std::string& tid) {
    return pid + "(" + cmdlineOf(std::stoi(pid)) + "):" + tid + "(" +
           startOf("/proc/" + tid + "/comm", '\n') + ")";
}

Texts formsOf(const std::vector<Call>& calls, std::string Call::*form) {
    Texts lines;
    std::transform(calls.begin(), calls.end(), std::back_inserter(lines), std::mem_fn(form));
    return lines;
}

}  // namespace

std::vector<Call> callsOf(pid_t section, const std::string& type) {
    //     outgoing transaction 28: 0000000045b46f7e from 247:254 to 246:252 code abcdef flags 10
    //     pri 0 r1 elapsed 3561ms
    static const std::regex form(
            " *(outgoing|incoming|pending async) transaction \\d+: \\w+ "
            "from (\\d+):(\\d+) to (\\d+):(\\d+) code (\\w+) .* "
            "elapsed (\\d+)ms.*");
    std::vector<Call> calls;
    pid_t current = 0;
    std::smatch f;
    for (const std::string& line : linesOf(readFile(kKernelLog))) {
        if (line.rfind("proc ", 0) == 0) {
            current = std::stoi(line.substr(5));
        } else if (current == section && std::regex_match(line, f, form) &&
                   (type.empty() || type == f[1])) {
            const int code = std::stoi(f[6], nullptr, 16);
            const std::string tail = " elapsed: T s code: " + std::to_string(code);
            calls.push_back({std::stoi(f[2]), std::stoi(f[4]), std::stod(f[7]) / 1000,
                             f.format("$1 from $2 : $3 to $4 : $5") + tail,
                             f.format("$1 transaction from ") + endpoint(f[2], f[3]) + " to " +
                                     endpoint(f[4], f[5]) + tail});
        }
    }
    return calls;
}

Texts plainLines(const std::vector<Call>& calls) {
    return formsOf(calls, &Call::plain);
}

Texts namedLines(const std::vector<Call>& calls) {
    return formsOf(calls, &Call::named);
}

Texts masked(Texts lines) {
    static const std::regex elapsed(" elapsed: \\d+\\.\\d{6} s ");
    for (std::string& line : lines) {
        line = std::regex_replace(line, elapsed, " elapsed: T s ");
    }
    return lines;
}

std::string cmdlineOf(pid_t pid) {
    return startOf("/proc/" + std::to_string(pid) + "/cmdline", '\0');
}

}  // namespace android::test
