#include <cstddef>
#include <cstdint>

#include "packaging/Version.h"

namespace android {

namespace {

constexpr size_t padded(size_t size) {
    return (size + 3) / 4 * 4;
}

// An ELF note: the daemon takes no arguments that it could be asked by, so this is what tells which
// release a binary is. `readelf -p .note.stallscope stallscope` shows it, on a stripped one too.
struct Note {
    uint32_t ownerSize = sizeof("StallScope");
    uint32_t versionSize = sizeof(STALLSCOPE_VERSION);
    uint32_t type = 1;
    char owner[padded(sizeof("StallScope"))] = "StallScope";
    char version[padded(sizeof(STALLSCOPE_VERSION))] = STALLSCOPE_VERSION;
};

// Aligned by hand, because the compiler would align it like other data, and more than a note may
// be.
[[gnu::section(".note.stallscope"), gnu::used]] alignas(4) constexpr Note kNote;

}  // namespace

}  // namespace android
