#ifndef STALLSCOPE_SERVICE_STALLSCOPESERVICE_H
#define STALLSCOPE_SERVICE_STALLSCOPESERVICE_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"
#include "diagnostics/AdvancedLogging.h"
#include "zevo/stallscope/BnStallscope.h"

namespace android {

// The binder object behind "StallScopeService". Each method hands its work to one function of
// diagnostics/AdvancedLogging.h and returns Status::ok() whatever happened: failures show in the
// log and in untouched out-parameters. It has no mutable state, so any number of binder threads may
// be inside it at once.
class StallScopeService : public zevo::stallscope::BnStallscope {
  public:
    StallScopeService();

    // The one instance, created by the first call and never deleted. Not thread-safe: main calls it
    // once, before any binder thread exists.
    static StallScopeService* getInstance();

    binder::Status dumpTraceWithBinderInfo(int32_t pid, bool withBinderInfo,
                                           const std::vector<String16>& names,
                                           const String16& file) override;
    binder::Status getTransaction(int32_t pid, std::vector<std::string>* lines,
                                  std::vector<std::string>* javaPids,
                                  std::vector<std::string>* nativePids,
                                  std::vector<std::string>* senderCmdlines,
                                  std::vector<std::string>* receiverCmdlines,
                                  std::vector<std::string>* elapsedTexts,
                                  std::vector<std::string>* senderPids,
                                  std::vector<std::string>* receiverPids, bool* result) override;
    binder::Status getAsyncTransaction(int32_t anrFromPid, int32_t pid,
                                       std::vector<std::string>* lines,
                                       std::vector<std::string>* javaPids,
                                       std::vector<std::string>* nativePids, bool* result) override;
    binder::Status getThreadFullInfo(int32_t pid, std::vector<std::string>* lines,
                                     std::vector<std::string>* javaPids,
                                     std::vector<std::string>* nativePids) override;
    binder::Status printfProcBinderInfo(int32_t pid, const std::string& tag) override;
    binder::Status checkTransaction(int32_t pid, int32_t thresholdSecs,
                                    std::vector<std::string>* lines,
                                    std::vector<std::string>* visitedPids, bool* result) override;
    binder::Status getTransactProc(int32_t pid, const std::string& tag,
                                   std::vector<std::string>* peerPids,
                                   std::vector<std::string>* peerCmdlines,
                                   std::vector<std::string>* lines) override;
    binder::Status getFdSize(int32_t pid, int32_t* result) override;
    binder::Status catchFdInfo(const std::string& file, int32_t pid) override;
    binder::Status dumpTraceForPidWithTimeout(int32_t pid, int32_t timeoutSecs,
                                              const std::string& file, bool* result) override;
    binder::Status dumpTraceForPidList(const std::vector<int32_t>& pids, const std::string& subject,
                                       const std::string& file) override;
    binder::Status dumpTraceForPidListAsync(const std::vector<int32_t>& pids,
                                            const std::string& subject,
                                            const std::string& file) override;

  private:
    static StallScopeService* sInstance;

    // Parses the kernel's log for `method`, in whose name a failure is logged.
    bool parseBinderLog(const char* method, BinderLogParser* parser) const;

    std::string mBinderLogPath;
};

}  // namespace android

#endif  // STALLSCOPE_SERVICE_STALLSCOPESERVICE_H
