#include "tests/guest/GuestSupport.h"

#include <android-base/stringprintf.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "tests/support/ReferenceParser.h"

namespace android::test {

namespace fs = std::filesystem;

namespace {

constexpr char kDaemonOutput[] = "/var/log/stallscope.log";

struct SanitizerCheck : testing::Environment {
    void TearDown() override { expectNoSanitizerReport(); }
};

testing::Environment* const sSanitizerCheck = testing::AddGlobalTestEnvironment(new SanitizerCheck);

// Up to the first `end`.
std::string startOf(const std::string& file, char end) {
    std::string text = "unknown";
    std::ifstream stream(file, std::ios::binary);
    if (stream.is_open()) {
        std::getline(stream, text, end);
    }
    return text;
}

std::string named(pid_t pid, pid_t tid) {
    return std::to_string(pid) + "(" + cmdlineOf(pid) + "):" + std::to_string(tid) + "(" +
           startOf(procFile(tid, "comm"), '\n') + ")";
}

}  // namespace

sp<IStallscope> stallscope() {
    // servicemanager tells of a registration through a call into this process.
    ProcessState::self()->startThreadPool();
    sp<IBinder> daemon;
    // Without end; what runs the test sets one.
    while (daemon == nullptr || daemon->pingBinder() != OK) {
        daemon = defaultServiceManager()->waitForService(String16("StallScopeService"));
    }
    return interface_cast<IStallscope>(daemon);
}

pid_t daemonPid() {
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const pid_t pid = atoi(entry.path().filename().c_str());
        if (pid > 0 && statusOf(pid, "Name") == "stallscope" && statusOf(pid, "State")[0] != 'Z') {
            return pid;
        }
    }
    return 0;
}

std::vector<int> exitsOfTheDaemon() {
    std::vector<int> statuses;
    for (const std::string& line : linesOf(readFile("/var/log/stallscope-init.log"))) {
        if (int status = 0;
            sscanf(line.c_str(), "stallscope exited with status %d", &status) == 1) {
            statuses.push_back(status);
        }
    }
    return statuses;
}

std::string outputOfTheDaemon() {
    return readFile(kDaemonOutput);
}

void forgetOutputOfTheDaemon() {
    writeFile(kDaemonOutput, "");
}

void expectNoSanitizerReport() {
    const std::string written = outputOfTheDaemon();
    EXPECT_EQ(0U, count(written, "Sanitizer") + count(written, "runtime error:")) << written;
}

Texts takeDaemonLog() {
    static const std::regex other(". (0/(?!stallscope:).*|parse: line: .*|parseTransaction.*)");
    static std::streamoff sTaken = 0;
    std::ifstream file(LOG_RECORD);
    file.seekg(sTaken);
    Texts log;
    for (std::string line; std::getline(file, line);) {
        sTaken = file.tellg();
        if (!std::regex_match(line, other)) {
            log.push_back(line);
        }
    }
    return masked(log);
}

StagedHang::StagedHang(const std::string& shape) {
    for (const std::string& line : linesOf(outputOf(REPOSITORY "/host/staging/stage " + shape))) {
        const size_t equals = line.find('=');
        pids[line.substr(0, equals)] = std::stoi(line.substr(equals + 1));
    }
    EXPECT_FALSE(pids.empty()) << "the shape " << shape << " is not in place";
}

std::string StagedHang::text(std::string form) const {
    for (const auto& [name, pid] : pids) {
        form = std::regex_replace(form, std::regex("\\$" + name + "\\b"), std::to_string(pid));
    }
    return form;
}

Texts StagedHang::texts(Texts forms) const {
    std::transform(forms.begin(), forms.end(), forms.begin(),
                   [&](auto& each) { return text(each); });
    return forms;
}

pid_t startInBackground(const std::string& shellCommand) {
    return std::stoi(outputOf("(exec " + shellCommand + ") </dev/null >/dev/null 2>&1 & echo $!"));
}

pid_t stageProcess(const std::string& knobs) {
    return startInBackground("\"$STALLSCOPE_STAGE_BIN/stage_process\" " + knobs);
}

pid_t stageCrowd() {
    const pid_t pid = stageProcess("--adj -1000 --idle-threads 40");
    EXPECT_TRUE(eventually([&] {
        return threadsIn(pid, "__do_sys_pause") == 41 &&
               readFile(procFile(pid, "oom_score_adj")) == "-1000\n";
    }));
    return pid;
}

void killAndReap(pid_t pid) {
    kill(pid, SIGKILL);
    EXPECT_TRUE(eventually([&] { return !fs::exists(procFile(pid, "")); }));
}

size_t threadsIn(pid_t pid, const std::string& kernelFunction) {
    size_t threads = 0;
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator(procFile(pid, "task"), gone)) {
        threads += readFile(entry.path() / "wchan").rfind(kernelFunction, 0) == 0 ? 1 : 0;
    }
    return threads;
}

size_t countFds(pid_t pid) {
    auto entries = fs::directory_iterator(procFile(pid, "fd"));
    return std::distance(fs::begin(entries), fs::end(entries));
}

Calls callsOf(pid_t section, const std::string& type) {
    ReferenceParser log(true);
    EXPECT_TRUE(log.parse(kKernelLog));
    const auto found = log.sections().find(section);
    Calls calls;
    for (const BinderTransaction& call : found == log.sections().end() ? Calls() : found->second) {
        if (type.empty() || type == call.type) {
            calls.push_back(call);
        }
    }
    return calls;
}

Texts namedLines(const Calls& calls) {
    Texts lines;
    for (const BinderTransaction& call : calls) {
        lines.push_back(call.type + " transaction from " + named(call.fromPid, call.fromTid) +
                        " to " + named(call.toPid, call.toTid) +
                        " elapsed: T s code: " + std::to_string(call.code));
    }
    return lines;
}

Texts plainLines(const Calls& calls) {
    Texts lines;
    for (const BinderTransaction& call : calls) {
        lines.push_back(base::StringPrintf("%s from %d : %d to %d : %d elapsed: T s code: %d",
                                           call.type.c_str(), call.fromPid, call.fromTid,
                                           call.toPid, call.toTid, call.code));
    }
    return lines;
}

Texts masked(Texts lines) {
    static const std::regex elapsed(" elapsed: \\d+\\.\\d{6} s ");
    for (std::string& line : lines) {
        line = std::regex_replace(line, elapsed, " elapsed: T s ");
    }
    return lines;
}

std::string cmdlineOf(pid_t pid) {
    return startOf(procFile(pid, "cmdline"), '\0');
}

bool GuestTest::isDaemonIdle() {
    const pid_t pid = daemonPid();
    return std::to_string(threadsIn(pid, "binder_")) == statusOf(pid, "Threads");
}

void GuestTest::expectEverythingWorks() {
    EXPECT_EQ(std::to_string(countFds(1) + 2), ask({"getFdSize", "1"}).result);
    const std::string file = "/tmp/everything-works";
    fs::remove(file);
    const pid_t crowd = stageCrowd();
    ask({"dumpTraceForPidWithTimeout", std::to_string(crowd), "20", file});
    EXPECT_EQ(41U, count(readFile(file), "waitForTheEnd"));
    killAndReap(crowd);
}

}  // namespace android::test
