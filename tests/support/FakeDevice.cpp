#include "tests/support/FakeDevice.h"

#include <android-base/stringprintf.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace android::test {

namespace fs = std::filesystem;

namespace {

std::string makeFolder() {
    char folder[] = "/tmp/stallscope-test-XXXXXX";
    return mkdtemp(folder);
}

// Nobody's processes but those of a test: the real /proc is never touched.
void removeProcesses() {
    struct statfs status = {};
    if (statfs("/proc", &status) != 0 || status.f_type != TMPFS_MAGIC) {
        fprintf(stderr, "/proc is not the tests' own; their main function mounts one.\n");
        abort();
    }
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        fs::remove_all(entry.path());
    }
}

}  // namespace

FakeDevice::FakeDevice() : mFolder(makeFolder()) {
    removeProcesses();
    fs::remove(kBinderLogPath);
    fs::current_path(mFolder);
    resetFakes();
}

FakeDevice::~FakeDevice() {
    awaitWorkers();
    fs::current_path("/");
    fs::remove_all(mFolder);
}

void FakeDevice::addProcess(int pid, const std::string& adj, const std::string& cmdline) {
    const std::string text = std::to_string(pid);
    writeFile(procFile(pid, "cmdline"), cmdline.empty() ? "p" + text : cmdline);
    writeFile(procFile(pid, "comm"), "t" + text + "\n");
    writeFile(procFile(pid, "oom_score_adj"), adj);
}

void FakeDevice::link(const std::string& path, const std::string& target) {
    std::error_code isThere;
    fs::create_directories(fs::path(path).parent_path(), isThere);
    fs::create_symlink(target, path);
}

std::string FakeDevice::read(const std::string& path) {
    return fs::exists(path) ? readFile(path) : "(no such file)";
}

Texts FakeDevice::namesIn(const std::string& folder) {
    Texts names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds) {
    return base::StringPrintf(
            "    outgoing transaction 71: 0000000076280f16 from %d:%d to %d:%d code 3 flags 10 "
            "pri 0 r1 elapsed %dms\n",
            fromPid, fromTid, toPid, toTid, milliseconds);
}

}  // namespace android::test
