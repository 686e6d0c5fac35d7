#include "client/Service.h"

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <fcntl.h>
#include <utils/String16.h>

#include <cerrno>
#include <cstring>

namespace android {

namespace {

constexpr const char* kServiceName = "StallScopeService";
constexpr const char* kBinderDevice = "/dev/binder";
constexpr std::chrono::milliseconds kRetryPause(100);

// ProcessState aborts where there is no usable driver.
Result checkDriver() {
    const base::unique_fd fd(open(kBinderDevice, O_RDWR | O_CLOEXEC));
    if (fd.ok()) {
        return {};
    }
    return {kNoService,
            std::string("cannot open ") + kBinderDevice + ": " + strerror(errno) +
                    "; it takes a kernel with binder, and the right to open the device"};
}

}  // namespace

Watchdog::Watchdog(std::chrono::seconds limit, std::function<void()> expired)
      : mThread([disarmed = mDisarmed.get_future(),
                 deadline = std::chrono::steady_clock::now() + limit,
                 expired = std::move(expired)] {
            if (disarmed.wait_until(deadline) == std::future_status::timeout) {
                expired();
            }
        }) {}

Watchdog::~Watchdog() {
    mDisarmed.set_value();
    mThread.join();
}

Result findService(std::atomic<const char*>* obstacle, sp<IStallscope>* service) {
    Result driver = checkDriver();
    if (driver.failed()) {
        return driver;
    }
    *obstacle = "the service manager does not answer; is servicemanager running?";
    // The service manager tells of a registration through a call into this process.
    ProcessState::self()->startThreadPool();
    const sp<IServiceManager> manager = defaultServiceManager();
    return awaitService([&](const String16& name) { return manager->waitForService(name); },
                        obstacle, service);
}

Result awaitService(const LookUp& lookUp, std::atomic<const char*>* obstacle,
                    sp<IStallscope>* service) {
    for (;; std::this_thread::sleep_for(kRetryPause)) {
        *obstacle =
                "\"StallScopeService\" is not registered and was not started on demand; start "
                "the daemon and look into its log";
        const sp<IBinder> binder = lookUp(String16(kServiceName));
        if (binder == nullptr) {
            return {kNoService, "the service manager denies access to \"StallScopeService\""};
        }
        *obstacle =
                "\"StallScopeService\" is registered, but its process does not answer; all of "
                "its threads may be busy";
        // An idle daemon may be stopped between the look-up and the ping.
        if (binder->pingBinder() == OK) {
            *service = interface_cast<IStallscope>(binder);
            return {};
        }
    }
}

}  // namespace android
