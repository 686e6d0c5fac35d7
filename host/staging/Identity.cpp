#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "host/staging/Stage.h"

namespace stage {
namespace {

// As on a device, where the end of a long package name says more than its beginning.
std::string threadNameFor(const std::string& cmdline) {
    constexpr size_t kMaxComm = 15;
    return cmdline.size() <= kMaxComm ? cmdline : cmdline.substr(cmdline.size() - kMaxComm);
}

}  // namespace

void eraseArguments() {
    std::ifstream file("/proc/self/stat");
    std::string field;
    // Counted from behind the name, which may hold blanks: fields 48 and 49 are the arguments'
    // ends.
    std::getline(file, field, ')');
    for (int i = 3; i < 48; ++i) {
        file >> field;
    }
    uintptr_t start = 0;
    uintptr_t end = 0;
    if (file >> start >> end) {
        const auto first = reinterpret_cast<char*>(start);
        const size_t kept = strnlen(first, end - start);
        memset(first + kept, 0, end - start - kept);
    }
}

void takeIdentity(const Options& options, char** argv) {
    setsid();  // fails where it leads one already
    std::string cmdline = options.text("cmdline");
    if (cmdline != argv[0]) {
        argv[0] = cmdline.data();
        execv("/proc/self/exe", argv);
        perror("stage_process: can't start over under another name");
        _exit(EXIT_FAILURE);
    }
    const std::string& name = options.text("thread-name");
    prctl(PR_SET_NAME, (name.empty() ? threadNameFor(cmdline) : name).c_str());
    eraseArguments();
}

}  // namespace stage
