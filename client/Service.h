#ifndef STALLSCOPE_CLIENT_SERVICE_H
#define STALLSCOPE_CLIENT_SERVICE_H

#include <utils/StrongPointer.h>
#include <zevo/stallscope/IStallscope.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "client/Result.h"

namespace android {

using zevo::stallscope::IStallscope;

// Runs expired on a thread of its own unless destroyed within limit. A binder call can't be taken
// back once it waits, so expired is expected to end the process.
class Watchdog {
  public:
    Watchdog(std::chrono::seconds limit, std::function<void()> expired);
    ~Watchdog();

  private:
    std::promise<void> mDisarmed;
    std::thread mThread;
};

// Finds "StallScopeService", which is started on demand, and makes sure that it answers. Waits as
// long as that takes; meanwhile obstacle says what is waited for.
Result findService(std::atomic<const char*>* obstacle, sp<IStallscope>* service);

// The part of it that begins when the service manager has been found, which lookUp asks.
using LookUp = std::function<sp<IBinder>(const String16& name)>;
Result awaitService(const LookUp& lookUp, std::atomic<const char*>* obstacle,
                    sp<IStallscope>* service);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_SERVICE_H
