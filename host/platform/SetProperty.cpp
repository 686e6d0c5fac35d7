// servicemanager asks for a service to be started by setting "ctl.interface_start", which a
// device's init acts on. Debian's libbase keeps the value to itself; this definition comes first
// and hands the request to the guest's init through a FIFO, one "NAME=VALUE" line per request.

#include <android-base/properties.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>

namespace android {
namespace base {

bool SetProperty(const std::string& name, const std::string& value) {
    const char* path = getenv("STALLSCOPE_CONTROL");
    if (path == nullptr)
        path = "/run/stallscope/ctl";

    // Without O_NONBLOCK the open would wait for an init that is not there.
    unique_fd fifo(open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    const std::string request = name + "=" + value + "\n";
    // Shorter than PIPE_BUF, so requests of two writers never mix.
    if (fifo != -1 && write(fifo, request.data(), request.size()) == ssize_t(request.size())) {
        return true;
    }
    fprintf(stderr, "servicemanager: can't pass %s=%s to %s: %s\n", name.c_str(), value.c_str(),
            path, strerror(errno));
    return false;
}

}  // namespace base
}  // namespace android
