#include "Target.h"

#include <android-base/file.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

int sReadyFd = -1;
std::atomic<int> sWaiting = 0;
volatile bool sForever = true;  // or the compiler warns that the functions below don't end

std::string readText(const std::string& path) {
    std::string text;
    android::base::ReadFileToString(path, &text);
    return text;
}

std::string field(const std::string& statusPath, const std::string& name) {
    std::string text = readText(statusPath);
    size_t start = text.find("\n" + name + ":\t");
    if (start == std::string::npos) {
        return "";
    }
    start += name.size() + 3;
    return text.substr(start, text.find('\n', start) - start);
}

bool everyThreadRuns(pid_t pid) {
    std::string tasks = "/proc/" + std::to_string(pid) + "/task/";
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(tasks.c_str()), closedir);
    while (dirent* entry = dir ? readdir(dir.get()) : nullptr) {
        std::string status = tasks + entry->d_name + "/status";
        std::string state = field(status, "State");
        bool stopped = !state.empty() && (state[0] == 'T' || state[0] == 't');
        if (entry->d_name[0] != '.' && (stopped || field(status, "TracerPid") > "0")) {
            return false;
        }
    }
    return dir != nullptr;
}

bool within(std::chrono::seconds time, const std::function<bool()>& condition) {
    for (auto end = Clock::now() + time; Clock::now() < end;) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

Target start(const std::function<void(int readyFd)>& body) {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ends[0]);
        body(ends[1]);
        _exit(1);
    }
    close(ends[1]);
    char byte;
    EXPECT_EQ(1, read(ends[0], &byte, 1)) << "the target ended early";
    close(ends[0]);
    return Target(pid);
}

}  // namespace

Target Target::run(const std::function<void()>& body) {
    return start([&body](int readyFd) {
        sReadyFd = readyFd;
        body();
    });
}

Target Target::exec(const std::vector<std::string>& arguments) {
    return start([&arguments](int readyFd) {
        std::vector<char*> argv(arguments.size() + 1);
        for (size_t i = 0; i < arguments.size(); i++) {
            argv[i] = const_cast<char*>(arguments[i].c_str());
        }
        dup2(readyFd, STDOUT_FILENO);
        execvp(argv[0], argv.data());
    });
}

void Target::ready() {
    if (write(sReadyFd, "r", 1) != 1) {
        _exit(1);
    }
}

void Target::end() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
        mPid = -1;
    }
}

std::string Target::status(const char* name) const {
    return field("/proc/" + std::to_string(mPid) + "/status", name);
}

char Target::waitForState(const std::string& wanted) const {
    std::string state;
    within(std::chrono::seconds(2), [&] {
        state = status("State");
        return !state.empty() && wanted.find(state[0]) != std::string::npos;
    });
    return state[0];
}

bool Target::runsOn() const {
    return within(std::chrono::seconds(2), [this] { return everyThreadRuns(mPid); });
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
    capture.seconds = secondsOf(
            [&] { capture.result = dump_backtrace_to_file_timeout(pid, type, seconds, file.fd); });
    capture.text = readText(file.path);
    return capture;
}

double secondsOf(const std::function<void()>& call) {
    auto start = Clock::now();
    call();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

extern "C" __attribute__((noinline)) void waitForeverInC() {
    sWaiting++;
    while (sForever) {
        pause();
    }
}

__attribute__((noinline)) void waitForeverInFrame(int number) {
    if (number == 0) {
        waitForeverInC();
    } else {
        waitForeverInFrame(number - 1);
    }
    asm volatile("");  // keeps the frame: the call above isn't the last thing
}

// A thread that waits for the end of a child's use of its address space can't be interrupted.
void sleepUninterruptiblyUntilReadable(int fd) {
    if (syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr) == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        char byte;
        _exit(read(fd, &byte, 1) != 1);
    }
}

void startWaitingThreads(int count) {
    for (int i = 0; i < count; i++) {
        std::thread(waitForeverInFrame, i % 20).detach();
    }
    while (sWaiting < count) {
        usleep(1000);
    }
}
