#include "tests/guest/GuestSupport.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "tests/guest/KernelCalls.h"

namespace android::test {

namespace fs = std::filesystem;

namespace {

constexpr char kDaemonOutput[] = "/var/log/stallscope.log";

struct SanitizerCheck : testing::Environment {
    void TearDown() override { expectNoSanitizerReport(); }
};

testing::Environment* const sSanitizerCheck = testing::AddGlobalTestEnvironment(new SanitizerCheck);

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
        pid_t pid = atoi(entry.path().filename().c_str());
        if (pid > 0 && statusOf(pid, "Name") == "stallscope" && statusOf(pid, "State")[0] != 'Z') {
            return pid;
        }
    }
    return 0;
}

void killDaemon() {
    kill(daemonPid(), SIGKILL);
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));
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
    static const std::regex other(
            ". (0/(?!stallscope:).*|parse:\\d+: line: .*|parseTransaction.*)");
    static const std::regex sourceLine("^(. (0/stallscope: )?[^: ]+):\\d+: ");
    static std::streamoff sTaken = 0;
    std::ifstream file(LOG_RECORD);
    file.seekg(sTaken);
    Texts log;
    for (std::string line; std::getline(file, line);) {
        sTaken = file.tellg();
        if (!std::regex_match(line, other)) {
            log.push_back(std::regex_replace(line, sourceLine, "$1: "));
        }
    }
    return masked(log);
}

StagedHang::StagedHang(const std::string& shape) {
    for (const std::string& line : linesOf(output(REPOSITORY "/host/staging/stage " + shape))) {
        size_t equals = line.find('=');
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

std::string output(const std::string& shellCommand) {
    std::string text;
    FILE* pipe = popen(shellCommand.c_str(), "r");
    for (int c; (c = fgetc(pipe)) != EOF;) {
        text += static_cast<char>(c);
    }
    pclose(pipe);
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

pid_t startInBackground(const std::string& shellCommand) {
    return std::stoi(output("(exec " + shellCommand + ") </dev/null >/dev/null 2>&1 & echo $!"));
}

bool eventually(const std::function<bool()>& isTrue, int seconds) {
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        usleep(5000);
    }
    return true;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

Texts linesOf(const std::string& text) {
    Texts lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) {
        ++found;
    }
    return found;
}

std::string statusOf(pid_t pid, const std::string& field) {
    for (const std::string& line : linesOf(readFile("/proc/" + std::to_string(pid) + "/status"))) {
        if (line.rfind(field + ":\t", 0) == 0) {
            return line.substr(field.size() + 2);
        }
    }
    return "";
}

}  // namespace android::test
