// Times native captures of processes with one and with 200 threads beside eu-stack on the same
// processes, in turns, so that both meet the same state of the machine.

#include <debuggerd/client.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

__attribute__((noinline)) void waitInFrame(int depth) {
    if (depth == 0) {
        pause();
    } else {
        waitInFrame(depth - 1);
    }
    asm volatile("");  // keeps the frame: the call above isn't the last thing
}

pid_t startTarget(int threads) {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (int i = 1; i < threads; i++) {
            std::thread(waitInFrame, i % 20).detach();
        }
        waitInFrame(10);
    }
    usleep(300'000);
    return pid;
}

[[noreturn]] void fail(const char* what) {
    fprintf(stderr, "%s failed; nothing to compare.\n", what);
    exit(EXIT_FAILURE);
}

void captureWithLibrary(pid_t pid, int output) {
    if (dump_backtrace_to_file_timeout(pid, kDebuggerdNativeBacktrace, 20, output) != 0) {
        fail("The capture");
    }
}

void captureWithEuStack(pid_t pid, int output) {
    std::string arguments[] = {"eu-stack", "-p", std::to_string(pid)};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = -1;
    int status = -1;
    if (posix_spawnp(&child, argv[0], &actions, nullptr, argv, environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        fail("eu-stack (package elfutils)");
    }
    posix_spawn_file_actions_destroy(&actions);
}

double millisecondsOf(const std::function<void()>& call) {
    auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
}

struct Summary {
    double least;
    double median;
    double most;
};

Summary summarize(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times.front(), times[times.size() / 2], times.back()};
}

void printRow(int threads, const char* name, const Summary& summary) {
    printf("%7d  %-16s %8.1f %8.1f %8.1f\n", threads, name, summary.least, summary.median,
           summary.most);
}

void compare(int threads, int repetitions) {
    pid_t target = startTarget(threads);
    int output = fileno(tmpfile());
    std::vector<double> library, euStack;
    for (int i = 0; i < repetitions; i++) {
        library.push_back(millisecondsOf([&] { captureWithLibrary(target, output); }));
        euStack.push_back(millisecondsOf([&] { captureWithEuStack(target, output); }));
    }
    close(output);
    kill(target, SIGKILL);
    waitpid(target, nullptr, 0);

    Summary ours = summarize(library), theirs = summarize(euStack);
    printRow(threads, "debuggerd_client", ours);
    printRow(threads, "eu-stack -p", theirs);
    printf("%7d  ratio of medians %16.2f\n", threads, ours.median / theirs.median);
}

}  // namespace

int main(int argc, char** argv) {
    int repetitions = argc > 1 ? atoi(argv[1]) : 15;
    if (repetitions < 1) {
        fprintf(stderr, "usage: capture_benchmark [REPETITIONS]\n");
        return EXIT_FAILURE;
    }
    printf("threads  capture by       least ms   median     most   (%d repetitions)\n",
           repetitions);
    compare(1, repetitions);
    compare(200, repetitions);
}
