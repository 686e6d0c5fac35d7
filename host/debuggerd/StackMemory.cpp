#include "host/debuggerd/StackMemory.h"

#include <string.h>
#include <sys/uio.h>

#include <algorithm>
#include <iterator>

namespace debuggerd {

namespace {
// Below the stack pointer leaf functions may have data (x86-64 has 128 bytes there).
constexpr uint64_t kRedZone = 128;
// More than the frames of one dump need. What lies deeper is read while the thread runs on.
constexpr uint64_t kMostBytesPerStack = 256 * 1024;
}  // namespace

StackMemory::StackMemory(pid_t pid)
      : mPid(pid), mLive(unwindstack::Memory::CreateProcessMemoryCached(pid)) {}

void StackMemory::copyStack(uint64_t sp, uint64_t end) {
    uint64_t start = sp - std::min(sp, kRedZone);
    std::vector<uint8_t> bytes(std::min(end - start, kMostBytesPerStack));
    iovec to = {bytes.data(), bytes.size()};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the other process
    iovec from = {reinterpret_cast<void*>(start), bytes.size()};
    ssize_t copied = process_vm_readv(mPid, &to, 1, &from, 1, 0);
    if (copied > 0) {
        bytes.resize(copied);
        mStacks[start] = std::move(bytes);
    }
}

size_t StackMemory::Read(uint64_t address, void* to, size_t size) {
    auto after = mStacks.upper_bound(address);
    if (after != mStacks.begin()) {
        const auto& [start, bytes] = *std::prev(after);
        if (address - start < bytes.size()) {
            size_t count = std::min<uint64_t>(size, bytes.size() - (address - start));
            memcpy(to, bytes.data() + (address - start), count);
            return count;
        }
    }
    return mLive->Read(address, to, size);
}

}  // namespace debuggerd
