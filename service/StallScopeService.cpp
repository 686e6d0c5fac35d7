#include "service/StallScopeService.h"

#include <thread>

#include "logging/LogLine.h"
#include "service/Utf8Repair.h"

namespace android {

using binder::Status;

StallScopeService* StallScopeService::sInstance = nullptr;

StallScopeService::StallScopeService() : mBinderLogPath(kBinderLogPath) {}

StallScopeService* StallScopeService::getInstance() {
    if (sInstance == nullptr) {
        sInstance = new StallScopeService();
    }
    return sInstance;
}

bool StallScopeService::parseBinderLog(const char* method, BinderLogParser* parser) const {
    if (parser->parse(mBinderLogPath)) {
        return true;
    }
    LOG_LINE(ANDROID_LOG_ERROR, method, "Parser file failed");
    return false;
}

Status StallScopeService::dumpTraceWithBinderInfo(int32_t pid, bool withBinderInfo,
                                                  const std::vector<String16>& names,
                                                  const String16& file) {
    dumpTraceAndBinderInfo(pid, withBinderInfo, names, file);
    return Status::ok();
}

Status StallScopeService::getTransaction(int32_t pid, std::vector<std::string>* lines,
                                         std::vector<std::string>* javaPids,
                                         std::vector<std::string>* nativePids,
                                         std::vector<std::string>* senderCmdlines,
                                         std::vector<std::string>* receiverCmdlines,
                                         std::vector<std::string>* elapsedTexts,
                                         std::vector<std::string>* senderPids,
                                         std::vector<std::string>* receiverPids, bool* result) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService getTransaction pid: %d", pid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        const AppendedTexts senders(senderCmdlines);
        const AppendedTexts receivers(receiverCmdlines);
        *result = getBinderTransactions(pid, parser, lines, javaPids, nativePids, senderCmdlines,
                                        receiverCmdlines, elapsedTexts, senderPids, receiverPids);
        senders.repairEnds();
        receivers.repairEnds();
    }
    return Status::ok();
}

Status StallScopeService::getAsyncTransaction(int32_t anrFromPid, int32_t pid,
                                              std::vector<std::string>* lines,
                                              std::vector<std::string>* javaPids,
                                              std::vector<std::string>* nativePids, bool* result) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService getAsyncTransaction anrFromPid: %d",
             anrFromPid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        *result = getAsyncBinderTransactions(anrFromPid, pid, parser, lines, javaPids, nativePids);
    }
    return Status::ok();
}

Status StallScopeService::getThreadFullInfo(int32_t pid, std::vector<std::string>* lines,
                                            std::vector<std::string>* javaPids,
                                            std::vector<std::string>* nativePids) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService getThreadFullInfo pid: %d", pid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        getBinderThreadFullInfo(pid, parser, lines, javaPids, nativePids);
    }
    return Status::ok();
}

Status StallScopeService::printfProcBinderInfo(int32_t pid, const std::string& tag) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService printfProcBinderInfo pid: %d", pid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        printfBinderInfo(pid, parser, tag);
    }
    return Status::ok();
}

Status StallScopeService::checkTransaction(int32_t pid, int32_t thresholdSecs,
                                           std::vector<std::string>* lines,
                                           std::vector<std::string>* visitedPids, bool* result) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService checkTransaction pid: %d", pid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        *result = checkBinderTransactions(pid, parser, thresholdSecs, lines, visitedPids);
    }
    return Status::ok();
}

Status StallScopeService::getTransactProc(int32_t pid, const std::string& tag,
                                          std::vector<std::string>* peerPids,
                                          std::vector<std::string>* peerCmdlines,
                                          std::vector<std::string>* lines) {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeService getTransactProc pid: %d", pid);
    BinderLogParser parser;
    if (parseBinderLog(__func__, &parser)) {
        const AppendedTexts peers(peerCmdlines);
        getBinderToProcess(pid, parser, tag, peerPids, peerCmdlines, lines);
        peers.repairEnds();
    }
    return Status::ok();
}

Status StallScopeService::getFdSize(int32_t pid, int32_t* result) {
    *result = getFdAmount(pid);
    return Status::ok();
}

Status StallScopeService::catchFdInfo(const std::string& file, int32_t pid) {
    writeFdInfoToFile(file, pid);
    return Status::ok();
}

Status StallScopeService::dumpTraceForPidWithTimeout(int32_t pid, int32_t timeoutSecs,
                                                     const std::string& file, bool* result) {
    *result = dumpBacktraceToFileTimeout(pid, timeoutSecs, file);
    return Status::ok();
}

Status StallScopeService::dumpTraceForPidList(const std::vector<int32_t>& pids,
                                              const std::string& subject, const std::string& file) {
    dumpTraceForAllProcess(pids, subject, file);
    return Status::ok();
}

Status StallScopeService::dumpTraceForPidListAsync(const std::vector<int32_t>& pids,
                                                   const std::string& subject,
                                                   const std::string& file) {
    std::thread([pids, subject, file] { dumpTraceForAllProcess(pids, subject, file); }).detach();
    return Status::ok();
}

}  // namespace android
