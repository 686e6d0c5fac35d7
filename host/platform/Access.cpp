// Who may find, add and list services. A device asks its SELinux policy; the guest has no policy,
// so everybody may. The limits that servicemanager itself sets (no application may add a service,
// isolated processes see only what allows them) still hold.

#include "Access.h"

#include <binder/IPCThreadState.h>

namespace android {

Access::Access() = default;
Access::~Access() = default;

Access::CallingContext Access::getCallingContext() {
    IPCThreadState* ipc = IPCThreadState::self();
    const char* sid = ipc->getCallingSid();
    return CallingContext{ipc->getCallingPid(), ipc->getCallingUid(), sid == nullptr ? "" : sid};
}

bool Access::canFind(const CallingContext& /*caller*/, const std::string& /*name*/) {
    return true;
}

bool Access::canAdd(const CallingContext& /*caller*/, const std::string& /*name*/) {
    return true;
}

bool Access::canList(const CallingContext& /*caller*/) {
    return true;
}

}  // namespace android
