#include "binderlog/BinderTransaction.h"

#include <sstream>

namespace android {

std::string BinderTransaction::toString() const {
    std::ostringstream text;
    text << type << " frome " << fromPid << ":" << fromTid << " to " << toPid << ":" << toTid
         << " code " << code << " elapsed " << elapsed << "s";
    return text.str();
}

}  // namespace android
