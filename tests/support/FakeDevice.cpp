#include "tests/support/FakeDevice.h"

#include <android-base/stringprintf.h>

#include <fstream>
#include <sstream>

#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace fs = std::filesystem;

FakeDevice::FakeDevice() {
    char folder[] = "/tmp/stallscope-test-XXXXXX";
    mFolder = mkdtemp(folder);
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        fs::remove_all(entry.path());
    }
    fs::remove_all(kBinderLogPath);
    takeLog();
    takeCaptures();
    scriptCaptures(writeCapture);
    letClockRun();
}

FakeDevice::~FakeDevice() {
    fs::remove_all(mFolder);
}

void FakeDevice::write(const std::string& name, const std::string& content) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << content;
}

void FakeDevice::link(const std::string& name, const std::string& target) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    fs::create_symlink(target, path(name));
}

std::string FakeDevice::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file.is_open() ? content.str() : "(no such file)";
}

void FakeDevice::addProcesses(std::initializer_list<int> pids, const std::string& adj) const {
    for (int pid : pids) {
        std::string text = std::to_string(pid);
        write("/proc/" + text + "/cmdline", "p" + text);
        write("/proc/" + text + "/comm", "t" + text + "\n");
        write("/proc/" + text + "/oom_score_adj", adj);
    }
}

BinderLogParser FakeDevice::parse(const std::string& content) const {
    write("binder-log", content);
    BinderLogParser parser;
    EXPECT_TRUE(parser.parse(path("binder-log")));
    takeLog();
    return parser;
}

std::string Transaction::logged() const {
    return base::StringPrintf(
            "    %s transaction 71: 0000000076280f16 from %d:%d to %d:%d code 3 flags 10 pri 0 r1 "
            "elapsed %dms\n",
            type.c_str(), fromPid, fromTid, toPid, toTid, milliseconds);
}

std::string Transaction::reported() const {
    auto named = [](const char* kind, int id) {
        return std::to_string(id) + "(" + (id == 0 ? "unknown" : kind + std::to_string(id)) + ")";
    };
    return type + " transaction from " + named("p", fromPid) + ":" + named("t", fromTid) + " to " +
           named("p", toPid) + ":" + named("t", toTid) +
           " elapsed: " + std::to_string(milliseconds / 1000.0) + " s code: 3";
}

std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds) {
    return Transaction{"outgoing", fromPid, fromTid, toPid, toTid, milliseconds}.logged();
}

}  // namespace android::test
