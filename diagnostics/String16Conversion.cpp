#include "diagnostics/String16Conversion.h"

#include <utils/String8.h>

namespace android {

std::string string16ToString(const String16& text) {
    return String8(text).c_str();
}

}  // namespace android
