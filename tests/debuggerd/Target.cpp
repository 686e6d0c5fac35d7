#include "Target.h"

#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

int sReadyFd = -1;
std::atomic<int> sWaiting = 0;
volatile bool sForever = true;  // or the compiler warns that the functions below don't end

std::string statusField(const std::string& process, const std::string& field) {
    std::ifstream status("/proc/" + process + "/status");
    std::string word;
    while (word != field + ":" && status >> word) {
    }
    return status >> word ? word : "";
}

bool isRunning(const std::string& pid) {
    bool anyLives = false;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + pid + "/task")) {
        std::string task = pid + "/task/" + thread.path().filename().string();
        std::string state = statusField(task, "State");
        if (state == "T" || state == "t" || statusField(task, "TracerPid") > "0") {
            return false;
        }
        anyLives = anyLives || state == "R" || state == "S" || state == "D";
    }
    return anyLives;
}

}  // namespace

Target::Target(const std::function<void()>& body) {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    sReadyFd = ends[1];
    mPid = startChild(body);
    close(ends[1]);
    char byte;
    EXPECT_EQ(1, read(ends[0], &byte, 1)) << "the target ended early";
    close(ends[0]);
}

Target::~Target() {
    killChild(mPid);
}

void Target::ready() {
    EXPECT_EQ(1, write(sReadyFd, "r", 1));
}

std::string Target::status(const std::string& field) const {
    return statusField(std::to_string(mPid), field);
}

bool Target::reachesState(const std::string& state) const {
    return eventually([&] { return status("State") == state; });
}

bool Target::runsOn() const {
    return eventually([this] { return isRunning(std::to_string(mPid)); });
}

int Capture::count(const std::string& part) const {
    int found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
        found++;
    }
    return found;
}

Capture capture(pid_t pid, DebuggerdDumpType type, int seconds) {
    TemporaryFile file;
    Capture capture;
    auto start = Clock::now();
    capture.result = dump_backtrace_to_file_timeout(pid, type, seconds, file.fd);
    capture.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_TRUE(android::base::ReadFileToString(file.path, &capture.text));
    return capture;
}

pid_t startChild(const std::function<void()>& body) {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(1);
    }
    return pid;
}

pid_t startCaller(pid_t pid, DebuggerdDumpType type) {
    return startChild([=] {
        for (int null = open("/dev/null", O_WRONLY);;) {
            dump_backtrace_to_file_timeout(pid, type, 30, null);
        }
    });
}

void killChild(pid_t child) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

bool eventually(const std::function<bool()>& condition) {
    bool isTrue = condition();
    for (auto end = Clock::now() + std::chrono::seconds(10); !isTrue && Clock::now() < end;) {
        usleep(500);
        isTrue = condition();
    }
    return isTrue;
}

__attribute__((noinline)) void waitForever(int number) {
    sWaiting += number > 0 ? 1 : 0;
    while (sForever) {
        pause();
    }
}

void waitWithThreads(int threads) {
    for (int i = 1; i < threads; i++) {
        std::thread(waitForever, i).detach();
    }
    while (sWaiting < threads - 1) {
        usleep(1000);
    }
    Target::ready();
    waitForever(0);
    asm volatile("");  // keeps the frame: the call above isn't the last thing
}

// So is a thread that waits for the end of a child's use of its address space.
void sleepUntilReadable(int fd) {
    if (syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr) == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        char byte;
        _exit(read(fd, &byte, 1) != 1);
    }
}
