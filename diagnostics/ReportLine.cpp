#include "diagnostics/ReportLine.h"

#include "diagnostics/ProcessAttributes.h"

namespace android {

namespace {

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
            std::to_string(transaction.elapsed)};
}

std::string namedLine(const char* kind, const BinderTransaction& transaction,
                      const CallTexts& texts) {
    std::string line;
    line.reserve(256);  // most lines, in one allocation
    line.append(kind).append(" from ");
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
    appendTail(&line, std::to_string(transaction.elapsed), transaction.code);
    return line;
}

}  // namespace android
