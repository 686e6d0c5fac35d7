#ifndef STALLSCOPE_HOST_DEBUGGERD_STACKMEMORY_H
#define STALLSCOPE_HOST_DEBUGGERD_STACKMEMORY_H

#include <sys/types.h>
#include <unwindstack/Memory.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace debuggerd {

// The memory of a process as the unwinder reads it: stacks as they were when their threads stood
// still, everything else as it is. So threads need to stand still only while their stacks are
// copied and not while they are unwound.
class StackMemory : public unwindstack::Memory {
  public:
    explicit StackMemory(pid_t pid);

    // Copies what a thread with this stack pointer uses of a stack that ends at `end`.
    void copyStack(uint64_t sp, uint64_t end);

    size_t Read(uint64_t address, void* to, size_t size) override;

  private:
    pid_t mPid;
    std::map<uint64_t, std::vector<uint8_t>> mStacks;  // by start address
    std::shared_ptr<unwindstack::Memory> mLive;
};

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_STACKMEMORY_H
