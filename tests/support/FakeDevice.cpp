#include "tests/support/FakeDevice.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace fs = std::filesystem;

namespace {

void emptyFolder(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        fs::remove_all(entry.path());
    }
}

}  // namespace

FakeDevice::FakeDevice() {
    char folder[] = "/tmp/stallscope-test-XXXXXX";
    mFolder = mkdtemp(folder);
    emptyFolder("/proc");
    fs::remove_all(kBinderLogPath);
    takeLog();
    takeCaptures();
    scriptCaptures(writeCapture);
    letClockRun();
}

FakeDevice::~FakeDevice() {
    fs::remove_all(mFolder);
}

void FakeDevice::addProcess(int pid, const std::string& cmdline, const std::string& comm,
                            const std::string& adj) {
    std::string folder = std::to_string(pid);
    addProcFile(folder + "/cmdline", cmdline);
    addProcFile(folder + "/comm", comm);
    addProcFile(folder + "/oom_score_adj", adj);
}

void FakeDevice::addProcFile(const std::string& path, const std::string& content) {
    fs::path file = fs::path("/proc") / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

void FakeDevice::addProcLink(const std::string& path, const std::string& target) {
    fs::path link = fs::path("/proc") / path;
    fs::create_directories(link.parent_path());
    fs::create_symlink(target, link);
}

void FakeDevice::setBinderLog(const std::string& content) {
    std::ofstream(kBinderLogPath, std::ios::binary) << content;
}

std::string FakeDevice::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file.is_open() ? content.str() : "(no such file)";
}

void FakeDevice::write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
}

std::vector<std::string> FakeDevice::filesIn(const std::string& name) const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path(name))) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

BinderLogParser FakeDevice::parse(const std::string& content) {
    write("binder-log", content);
    BinderLogParser parser;
    EXPECT_TRUE(parser.parse(path("binder-log")));
    takeLog();
    return parser;
}

std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds,
                     const std::string& code) {
    std::ostringstream line;
    line << "    outgoing transaction 71: 0000000076280f16 from " << fromPid << ":" << fromTid
         << " to " << toPid << ":" << toTid << " code " << code << " flags 10 pri 0 r1 elapsed "
         << milliseconds << "ms\n";
    return line.str();
}

}  // namespace android::test
