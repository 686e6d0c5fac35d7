// The start of the daemon, on fakes of libbinder: what scenes show with "start". It happens once in
// a process, so that is this program again.

#include <binder/IPCThreadState.h>
#include <binder/LazyServiceRegistrar.h>
#include <binder/ProcessState.h>
#include <signal.h>

#include "binderlog/BinderLogParser.h"
#include "logging/StallScopeLogger.h"
#include "tests/support/Events.h"

extern "C" int daemonMain();

namespace android {

using test::addEvent;

status_t binder::LazyServiceRegistrar::registerService(const sp<IBinder>& service,
                                                       const std::string& name, bool allowIsolated,
                                                       int dumpFlags) {
    const bool isOurs =
            service->getInterfaceDescriptor() == String16("zevo.stallscope.IStallscope");
    addEvent("main registers " + name + (isOurs ? "" : " of another interface") +
             (allowIsolated ? " for everybody" : "") + " with " + std::to_string(dumpFlags));
    return getenv("STALLSCOPE_TEST_REFUSED") == nullptr ? OK : UNKNOWN_ERROR;
}

// Neither has the driver that the real one opens. Only the base is looked at.
sp<ProcessState> ProcessState::self() {
    struct Base : virtual RefBase {};
    static const sp<Base> sBase = new Base;
    return sp<ProcessState>(reinterpret_cast<ProcessState*>(sBase.get()));
}
IPCThreadState* IPCThreadState::self() {
    alignas(IPCThreadState) static char sMemory[sizeof(IPCThreadState)];
    return reinterpret_cast<IPCThreadState*>(sMemory);
}

status_t ProcessState::setThreadPoolMaxThreadCount(size_t count) {
    addEvent("main allows " + std::to_string(count) + " threads");
    return OK;
}
void ProcessState::startThreadPool() {
    addEvent("main starts the pool");
}
void IPCThreadState::joinThreadPool(bool isMain) {
    const bool isIgnored = signal(SIGPIPE, SIG_DFL) == SIG_IGN;
    addEvent(std::string("main joins") + (isMain ? " for good" : "") +
             (isIgnored ? ", with SIGPIPE ignored" : ""));
}

namespace test {

// The log in the working directory, parsed, tells of the format that was chosen before.
int printStart() {
    signal(SIGPIPE, SIG_DFL);  // whatever the caller's is
    BinderLogParser parser;
    parser.parse("log");
    const int status = daemonMain();
    for (const std::string& event : takeEvents("DIWEm")) {
        if (event.rfind("D parse", 0) != 0) {
            printf("%s\n", event.c_str());
        }
    }
    const std::vector<BinderTransaction>* records = parser.getProcessTransactions(7);
    printf("status %d, debug %s, %s format\n", status,
           StallScopeLogger::isDebugEnabled() ? "on" : "off",
           records != nullptr && !records->empty() ? "new" : "old");
    return 0;
}

}  // namespace test
}  // namespace android
