#include "diagnostics/ReportLine.h"

#include "diagnostics/ProcessAttributes.h"

namespace android {

namespace {

std::string tail(const BinderTransaction& transaction) {
    return " elapsed: " + std::to_string(transaction.elapsed) +
           " s code: " + std::to_string(transaction.code);
}

std::string endpoint(int pid, const std::string& cmdline, int tid, const std::string& thread) {
    return std::to_string(pid) + "(" + cmdline + "):" + std::to_string(tid) + "(" + thread + ")";
}

}  // namespace

PeerNames readPeerNames(const BinderTransaction& transaction) {
    return {getProcessCmdline(transaction.fromPid), getProcessComm(transaction.fromTid),
            getProcessCmdline(transaction.toPid), getProcessComm(transaction.toTid)};
}

std::string namedLine(const char* kind, const BinderTransaction& transaction,
                      const PeerNames& names) {
    return std::string(kind) + " from " +
           endpoint(transaction.fromPid, names.senderCmdline, transaction.fromTid,
                    names.senderThread) +
           " to " +
           endpoint(transaction.toPid, names.receiverCmdline, transaction.toTid,
                    names.receiverThread) +
           tail(transaction);
}

std::string plainLine(const BinderTransaction& transaction) {
    return transaction.type + " from " + std::to_string(transaction.fromPid) + " : " +
           std::to_string(transaction.fromTid) + " to " + std::to_string(transaction.toPid) +
           " : " + std::to_string(transaction.toTid) + tail(transaction);
}

}  // namespace android
