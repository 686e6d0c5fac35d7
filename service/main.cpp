#define STALLSCOPE_LOG_TAG "stallscope"

#include <binder/IPCThreadState.h>
#include <binder/LazyServiceRegistrar.h>
#include <binder/ProcessState.h>
#include <signal.h>

#include "logging/LogLine.h"
#include "service/StallScopeService.h"

using namespace android;

int main() {
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeStarting stallscope");
    // A client may name a FIFO as its file and go away; that must fail the write, not the daemon.
    signal(SIGPIPE, SIG_IGN);
    sp<StallScopeService> service = StallScopeService::getInstance();
    status_t status = binder::LazyServiceRegistrar::getInstance().registerService(
            service, "StallScopeService", false, IServiceManager::DUMP_FLAG_PRIORITY_DEFAULT);
    LOG_LINE(ANDROID_LOG_DEBUG, __func__, "StallScopeStarting endstallscope");
    if (status != OK) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Couldn't register stallscope binder service!");
        return -1;
    }
    sp<ProcessState> process = ProcessState::self();
    process->setThreadPoolMaxThreadCount(10);
    process->startThreadPool();
    IPCThreadState::self()->joinThreadPool(true);
    return 0;
}
