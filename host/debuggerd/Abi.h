#ifndef STALLSCOPE_HOST_DEBUGGERD_ABI_H
#define STALLSCOPE_HOST_DEBUGGERD_ABI_H

#include <unwindstack/Elf.h>

namespace debuggerd {

// The platform's name of an architecture, as the "ABI" line of a dump has it.
inline const char* abiName(unwindstack::ArchEnum arch) {
    switch (arch) {
        case unwindstack::ARCH_ARM:
            return "arm";
        case unwindstack::ARCH_ARM64:
            return "arm64";
        case unwindstack::ARCH_X86:
            return "x86";
        case unwindstack::ARCH_X86_64:
            return "x86_64";
        default:
            return "unknown";
    }
}

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_ABI_H
