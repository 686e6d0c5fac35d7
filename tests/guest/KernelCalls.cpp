#include "tests/guest/KernelCalls.h"

#include <fstream>
#include <regex>
#include <sstream>

namespace android::test {

namespace {

// Up to the first `end`.
std::string startOf(const std::string& file, char end) {
    std::ifstream stream(file, std::ios::binary);
    std::string text = "unknown";
    if (stream.is_open()) {
        std::getline(stream, text, end);
    }
    return text;
}

std::string endpoint(pid_t pid, pid_t tid) {
    std::string thread = startOf("/proc/" + std::to_string(tid) + "/comm", '\n');
    return std::to_string(pid) + "(" + cmdlineOf(pid) + "):" + std::to_string(tid) + "(" + thread +
           ")";
}

std::string tail(const Call& call) {
    return " elapsed: T s code: " + std::to_string(call.code);
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
            calls.push_back({section, std::stoi(f[2]), std::stoi(f[3]), std::stoi(f[4]),
                             std::stoi(f[5]), f[1], std::stoi(f[6], nullptr, 16),
                             std::stod(f[7]) / 1000});
        }
    }
    return calls;
}

Texts namedLines(const std::string& kind, const std::vector<Call>& calls) {
    Texts lines;
    for (const Call& call : calls) {
        lines.push_back(kind + " from " + endpoint(call.fromPid, call.fromTid) + " to " +
                        endpoint(call.toPid, call.toTid) + tail(call));
    }
    return lines;
}

Texts plainLines(const std::vector<Call>& calls) {
    Texts lines;
    for (const Call& call : calls) {
        std::ostringstream line;
        line << call.type << " from " << call.fromPid << " : " << call.fromTid << " to "
             << call.toPid << " : " << call.toTid << tail(call);
        lines.push_back(line.str());
    }
    return lines;
}

Texts masked(Texts lines) {
    static const std::regex elapsed(" elapsed: \\d+\\.\\d{6} s ");
    for (std::string& line : lines) {
        line = std::regex_replace(line, elapsed, " elapsed: T s ");
    }
    return lines;
}

double elapsedIn(const std::string& line) {
    return std::stod(line.substr(line.find(" elapsed: ") + 10));
}

std::string cmdlineOf(pid_t pid) {
    return startOf("/proc/" + std::to_string(pid) + "/cmdline", '\0');
}

}  // namespace android::test
