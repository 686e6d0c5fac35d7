#pragma once

#include <utils/StrongPointer.h>
#include <zevo/stallscope/IStallscope.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "Arguments.h"

namespace android {

using zevo::stallscope::IStallscope;

/**
 * Runs expired on a thread of its own unless destroyed within limit. A binder call can't be taken
 * back once it waits, so expired is expected to end the process.
 */
class Watchdog {
  public:
    Watchdog(std::chrono::seconds limit, std::function<void()> expired);
    ~Watchdog();

  private:
    std::promise<void> mDisarmed;
    std::thread mThread;
};

/**
 * Finds "StallScopeService", which is started on demand, and makes sure that it answers. Waits as
 * long as that takes; meanwhile obstacle says what is waited for.
 */
Result findService(std::atomic<const char*>* obstacle, sp<IStallscope>* service);

}  // namespace android
