#include "benchmarks/request/Load.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "benchmarks/request/FloorWork.h"

namespace android::benchmarks {

pid_t start(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
        perror(arguments[0]);
        exit(1);
    }
    return pid;
}

void stop(pid_t pid) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

Load::Load(const std::string& stageProcess, size_t calls) {
    mServer = start({stageProcess, "--cmdline", "load.server", "--serve", "stage.load", "--threads",
                     std::to_string(calls)});
    std::vector<std::string> words = {stageProcess, "--cmdline", "load.caller"};
    for (size_t i = 0; i < calls; ++i) {
        words.push_back("--extra-thread");
        words.push_back("load-" + std::to_string(i) + "=call:stage.load");
    }
    mCaller = start(words);
    size_t before = 0;
    do {
        before = mSeen;
        usleep(1'500'000);
        mSeen = callsOf(mCaller).size();
    } while (mSeen == 0 || mSeen != before);
}

Load::~Load() {
    stop(mCaller);
    stop(mServer);
}

std::unique_ptr<Load> wholeLoad(const std::string& stageProcess, size_t calls) {
    std::unique_ptr<Load> load;
    for (int attempts = 0; attempts < 10 && (load == nullptr || load->seen() < calls); ++attempts) {
        load.reset();
        load = std::make_unique<Load>(stageProcess, calls);
    }
    return load;
}

}  // namespace android::benchmarks
