#include "host/staging/Stage.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

using android::IBinder;
using android::sp;

namespace stage {
namespace {

// Not waitForService(): that one needs a pool thread, and has an absent service started.
sp<IBinder> findService(const std::string& name) {
    const android::String16 name16(name.c_str());
    sp<IBinder> service;
    while ((service = android::defaultServiceManager()->checkService(name16)) == nullptr) {
        usleep(50'000);
    }
    return service;
}

int transact(const std::string& name, uint32_t code, uint32_t flags) {
    android::Parcel data;
    android::Parcel reply;
    return findService(name)->transact(code, data, &reply, flags);
}

}  // namespace

void waitForSensorThatNeverAnswers(int parkMs) {
    if (parkMs < 0) {
        waitForTheEnd();
    }
    usleep(static_cast<useconds_t>(parkMs) * 1000);
}

void waitForLockHeldByMainThread(std::mutex* lock) {
    const std::lock_guard<std::mutex> guard(*lock);
}

// Without CLONE_VM, so that the child has a memory of its own; the parent is held all the same.
void waitForChildThatNeverExecs() {
    if (syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr) == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        waitForTheEnd();
    }
}

void waitForTheEnd() {
    for (;;) {
        pause();
    }
}

void waitForFile(const std::string& path) {
    while (access(path.c_str(), F_OK) != 0) {
        usleep(50'000);
    }
}

int callServiceAndWait(const std::string& service, uint32_t code) {
    const int status = transact(service, code, 0);
    std::cerr << "the call of " << service << " ended with status " << status << "\n";
    return status;
}

int sendOneWay(const std::string& service, uint32_t code) {
    return transact(service, code, IBinder::FLAG_ONEWAY);
}

}  // namespace stage
