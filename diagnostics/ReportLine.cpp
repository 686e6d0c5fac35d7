#include "diagnostics/ReportLine.h"

#include <cmath>

#include "diagnostics/ProcessAttributes.h"

namespace android {

namespace {

// As "%f" prints it, but faster for whole milliseconds, which nearly all are. Below the limit a
// double is too close to its number of milliseconds to differ in six digits.
std::string elapsedText(double seconds) {
    constexpr double kLimit = 1e9;
    if (seconds > 0 && seconds < kLimit) {
        const long long milliseconds = std::llround(seconds * 1000);
        if (static_cast<double>(milliseconds) / 1000.0 == seconds) {
            std::string text = std::to_string(milliseconds / 1000) + ".";
            std::string fraction = std::to_string(1000 + milliseconds % 1000);
            return text.append(fraction, 1, 3).append("000");
        }
    }
    return std::to_string(seconds);
}

void appendTail(std::string* line, const std::string& elapsed, int code) {
    line->append(" elapsed: ").append(elapsed).append(" s code: ").append(std::to_string(code));
}

void appendEndpoint(std::string* line, int pid, const std::string& cmdline, int tid,
                    const std::string& thread) {
    line->append(std::to_string(pid)).append("(").append(cmdline).append("):");
    line->append(std::to_string(tid)).append("(").append(thread).append(")");
}

}  // namespace

CallTexts readCallTexts(const BinderTransaction& transaction) {
    return {getProcessCmdline(transaction.fromPid), getProcessComm(transaction.fromTid),
            getProcessCmdline(transaction.toPid), getProcessComm(transaction.toTid),
            elapsedText(transaction.elapsed)};
}

std::string namedLine(const char* kind, const BinderTransaction& transaction,
                      const CallTexts& texts) {
    std::string line(kind);
    line.reserve(256);  // most lines, in one allocation
    line.append(" from ");
    appendEndpoint(&line, transaction.fromPid, texts.senderCmdline, transaction.fromTid,
                   texts.senderThread);
    line.append(" to ");
    appendEndpoint(&line, transaction.toPid, texts.receiverCmdline, transaction.toTid,
                   texts.receiverThread);
    appendTail(&line, texts.elapsed, transaction.code);
    return line;
}

std::string plainLine(const BinderTransaction& transaction) {
    std::string line = transaction.type + " from " + std::to_string(transaction.fromPid) + " : " +
                       std::to_string(transaction.fromTid) + " to " +
                       std::to_string(transaction.toPid) + " : " +
                       std::to_string(transaction.toTid);
    appendTail(&line, elapsedText(transaction.elapsed), transaction.code);
    return line;
}

}  // namespace android
