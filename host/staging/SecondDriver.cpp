#include "host/staging/Stage.h"

#include <android-base/unique_fd.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <fcntl.h>
#include <linux/android/binder.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <cstring>
#include <iostream>

namespace stage {
namespace {

using Transaction = binder_transaction_data;

// A client that makes two calls in its life and so never gives a buffer or a reference back.
class SecondDriver {
  public:
    SecondDriver()
          : mFd(open(android::ProcessState::self()->getDriverName().c_str(), O_RDWR | O_CLOEXEC)) {
        if (mmap(nullptr, 64 * 1024, PROT_READ, MAP_PRIVATE, mFd.get(), 0) == MAP_FAILED) {
            mFd.reset();
        }
    }

    // False when the driver refuses or the peer fails; else `reply` points into the mapping.
    bool call(uint32_t handle, uint32_t code, const android::Parcel& data, Transaction* reply) {
        struct __attribute__((packed)) {
            uint32_t command = BC_TRANSACTION;
            Transaction transaction = {};
        } out;
        out.transaction.target.handle = handle;
        out.transaction.code = code;
        out.transaction.flags = TF_ACCEPT_FDS;
        out.transaction.data_size = data.dataSize();
        out.transaction.data.ptr.buffer = reinterpret_cast<binder_uintptr_t>(data.data());
        uint8_t in[256];
        binder_write_read exchange = {};
        exchange.write_buffer = reinterpret_cast<binder_uintptr_t>(&out);
        exchange.write_size = sizeof(out);
        exchange.read_buffer = reinterpret_cast<binder_uintptr_t>(in);
        exchange.read_size = sizeof(in);
        while (ioctl(mFd.get(), BINDER_WRITE_READ, &exchange) == 0) {
            const uint32_t end = readReply(in, exchange.read_consumed, reply);
            if (end != BR_NOOP) {
                return end == BR_REPLY;
            }
            exchange.read_consumed = 0;
        }
        return false;
    }

  private:
    // The command that ends the call, BR_NOOP when none has come yet.
    static uint32_t readReply(const uint8_t* in, size_t size, Transaction* reply) {
        uint32_t command = BR_NOOP;
        for (size_t at = 0; at < size; at += sizeof(command) + _IOC_SIZE(command)) {
            memcpy(&command, in + at, sizeof(command));
            if (command == BR_REPLY) {
                memcpy(reply, in + at + sizeof(command), sizeof(*reply));
            }
            if (command == BR_REPLY || command == BR_FAILED_REPLY || command == BR_DEAD_REPLY) {
                return command;
            }
        }
        return BR_NOOP;
    }

    android::base::unique_fd mFd;
};

// The handle of a registered service, 0 (servicemanager itself) when there is none.
uint32_t lookUp(SecondDriver* driver, const std::string& service) {
    constexpr uint32_t kCheckService = 2;
    android::Parcel data;
    data.writeInterfaceToken(android::String16("android.os.IServiceManager"));
    data.writeString16(android::String16(service.c_str()));
    Transaction reply = {};
    if (!driver->call(0, kCheckService, data, &reply) || reply.offsets_size == 0) {
        return 0;
    }
    const auto offset = *reinterpret_cast<const binder_size_t*>(reply.data.ptr.offsets);
    flat_binder_object found;  // in the reply on four bytes only
    memcpy(&found, reinterpret_cast<const void*>(reply.data.ptr.buffer + offset), sizeof(found));
    return found.handle;
}

}  // namespace

int callOwnServiceThroughSecondDriver(const std::string& service, uint32_t code) {
    SecondDriver driver;
    const uint32_t handle = lookUp(&driver, service);
    if (handle == 0) {
        std::cerr << "stage_process: " << service << " must be registered before it is called\n";
        return android::NAME_NOT_FOUND;
    }
    Transaction reply = {};
    const bool done = driver.call(handle, code, android::Parcel(), &reply);
    return done ? android::OK : android::FAILED_TRANSACTION;
}

}  // namespace stage
