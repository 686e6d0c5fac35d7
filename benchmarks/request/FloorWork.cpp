#include "benchmarks/request/FloorWork.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include "binderlog/BinderLogParser.h"

namespace android::benchmarks {

namespace {

base::unique_fd openFile(const std::string& path) {
    return base::unique_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

}  // namespace

size_t readLog() {
    static thread_local char buffer[64 * 1024];
    base::unique_fd log = openFile(kBinderLogPath);
    size_t size = 0;
    for (ssize_t count; (count = read(log.get(), buffer, sizeof(buffer))) > 0;) {
        size += count;
    }
    return size;
}

std::vector<BinderTransaction> callsOf(pid_t pid) {
    BinderLogParser parser;
    parser.parse(kBinderLogPath);
    return parser.getProcessTransactionsByType(pid, kOutgoing);
}

std::vector<std::string> filesFor(const std::vector<BinderTransaction>& calls) {
    std::vector<std::string> files;
    auto add = [&files](int pid, const char* name) {
        files.push_back("/proc/" + std::to_string(pid) + name);
    };
    for (const BinderTransaction& call : calls) {
        add(call.fromPid, "/cmdline");
        add(call.fromTid, "/comm");
        add(call.toPid, "/cmdline");
        add(call.toTid, "/comm");
    }
    return files;
}

void readAll(const std::vector<std::string>& files, size_t count) {
    char buffer[1024];
    for (size_t i = 0; i < count; ++i) {
        base::unique_fd file = openFile(files[i % files.size()]);
        if (read(file.get(), buffer, sizeof(buffer)) < 0) {
            continue;  // a process that has gone
        }
    }
}

}  // namespace android::benchmarks
