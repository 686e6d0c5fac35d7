// Ten clients and every method, while the processes that they ask about are born, hang and die.
// STALLSCOPE_SOAK_CALLS is the number of calls.

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <iostream>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using binder::Status;

constexpr int kClients = 10;
constexpr int kStaged = 8;  // processes of hangs, with those that live shortly behind them
constexpr int kProcesses = 12;
constexpr int kMethods = 12;

// Shared by the processes of the test. This one has nothing to do with the daemon: what the library
// of a forked process knows of binder is its parent's.
struct Shared {
    std::atomic<long> nextCall = 0;
    std::atomic<long> answered[kMethods] = {};
    std::atomic<long> unanswered = 0;
    std::atomic<long> lines = 0;
    std::atomic<long> born = 0;
    std::atomic<pid_t> pids[kProcesses] = {};
};
Shared* sShared;

pid_t inChild(const std::function<void()>& run) {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run();
        _exit(0);
    }
    return pid;
}

void keepHangs() {
    for (int next = 0;;) {
        for (const char* shape :
             {"chain", "cycle", "callback", "oneway", "exhausted", "vanished"}) {
            for (const auto& [name, pid] : StagedHang(shape).pids) {
                sShared->pids[next++ % kStaged] = pid;
                ++sShared->born;
            }
            sleep(1);
        }
    }
}

// Each hangs in a call of its own service and is killed, sometimes while the daemon looks at it.
void keepProcessesComing() {
    for (int next = kStaged;; next = next + 1 < kProcesses ? next + 1 : kStaged) {
        const pid_t pid =
                stageProcess("--cmdline 'soak(]' --serve soak.self --main self:soak.self");
        sShared->pids[next] = pid;
        ++sShared->born;
        usleep(rand() % 500'000);
        kill(pid, SIGKILL);
    }
}

// Every method in its turn, but those that capture, which take long in an emulated machine, more
// rarely.
int methodOf(long call) {
    const int turn = static_cast<int>(call % 200);
    const int captures[] = {0, 9, 10, 11};
    return turn < 4 ? captures[turn] : 1 + turn % 8;
}

Status call(const sp<IStallscope>& daemon, int method, const std::string& job,
            const std::string& file) {
    const pid_t pid = sShared->pids[rand() % kProcesses];
    const pid_t other = sShared->pids[rand() % kProcesses];
    const std::vector<String16> names = {String16("nobody")};
    Texts l[8];
    bool flag;
    int number;
    const std::function<Status()> methods[kMethods] = {
            [&] {
                return daemon->dumpTraceWithBinderInfo(pid, true, names, String16(job.c_str()));
            },
            [&] {
                return daemon->getTransaction(pid, l, l + 1, l + 2, l + 3, l + 4, l + 5, l + 6,
                                              l + 7, &flag);
            },
            [&] { return daemon->getAsyncTransaction(pid, other, l, l + 1, l + 2, &flag); },
            [&] { return daemon->getThreadFullInfo(pid, l, l + 1, l + 2); },
            [&] { return daemon->printfProcBinderInfo(pid, "soak"); },
            [&] { return daemon->checkTransaction(pid, 0, l, l + 1, &flag); },
            [&] { return daemon->getTransactProc(pid, "soak", l + 1, l + 2, l); },
            [&] { return daemon->getFdSize(pid, &number); },
            [&] { return daemon->catchFdInfo(file + ".fds", pid); },
            [&] { return daemon->dumpTraceForPidWithTimeout(pid, 10, file + ".trace", &flag); },
            [&] {
                return daemon->dumpTraceForPidList({pid, other}, "subject", file + ".list");
            },
            [&] {
                return daemon->dumpTraceForPidListAsync({pid, other}, "subject", file + ".list");
            }};
    Status status = methods[method]();
    sShared->lines += l[0].size();
    return status;
}

void runClient(int client, long calls) {
    srand(client);
    // A folder of its own, since jobs prune it.
    const std::string jobs = "/tmp/soak/jobs" + std::to_string(client);
    fs::create_directories(jobs);
    sp<IStallscope> daemon = stallscope();
    for (long i; (i = sShared->nextCall++) < calls;) {
        const std::string number = std::to_string(i);
        Status status =
                call(daemon, methodOf(i), jobs + "/" + number + ".job", "/tmp/soak/" + number);
        ++(status.isOk() ? sShared->answered[methodOf(i)] : sShared->unanswered);
    }
}

void expectWhole(const fs::path& file) {
    const std::string text = readFile(file), kind = file.extension();
    SCOPED_TRACE(file.string() + ":\n" + text);
    const std::string start = kind == ".list"  ? "subject\n"
                              : kind == ".job" ? "Binder Info:\n"
                                               : "";
    EXPECT_THAT(text, testing::StartsWith(start));
    EXPECT_TRUE(text.empty() || text.back() == '\n');
    // A job's captures have a second each, which may be too little here: then the end is missing.
    EXPECT_TRUE(kind == ".job" || hasWholeSections(text));
    for (const std::string& line : kind == ".fds" ? linesOf(text) : Texts()) {
        EXPECT_THAT(line, testing::ContainsRegex("^/proc/[0-9]+/fd/[0-9]+ -> ."));
    }
}

// Every call is answered, and every file is whole.
void runClients(long calls) {
    sShared->nextCall = 0;
    std::vector<pid_t> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.push_back(inChild([&] { runClient(i, calls); }));
    }
    for (pid_t client : clients) {
        int status = -1;
        waitpid(client, &status, 0);
        EXPECT_EQ(0, status);
    }
    EXPECT_TRUE(eventually(isDaemonIdle, 120));
    EXPECT_EQ(0, sShared->unanswered);
    EXPECT_THAT(sShared->answered, testing::Each(testing::Gt(0)));
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator("/tmp/soak")) {
        if (entry.is_regular_file()) {
            expectWhole(entry);
        }
    }
    fs::remove_all("/tmp/soak");
}

struct Figures {
    pid_t pid = daemonPid();
    size_t fds = countFds(pid);
    int threads = std::stoi(statusOf(pid, "Threads"));
    long rssKb = std::stol(statusOf(pid, "VmRSS"));
};

std::ostream& operator<<(std::ostream& stream, const Figures& figures) {
    return stream << figures.fds << " descriptors, " << figures.threads << " threads, "
                  << figures.rssKb << " kB resident";
}

TEST(SoakTest, NothingIsLostAndNothingIsLeftBehind) {
    const char* wanted = getenv("STALLSCOPE_SOAK_CALLS");
    const long calls = wanted == nullptr ? 1500 : atol(wanted);
    sShared = new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) Shared;
    inChild([] {
        sp<IStallscope> held = stallscope();
        pause();
    });
    inChild(keepHangs);
    inChild(keepProcessesComing);
    EXPECT_TRUE(eventually([] { return sShared->born >= kProcesses && daemonPid() != 0; }, 120));
    runClients(std::max(300L, calls / 20));
    const Figures before;
    runClients(calls);
    const Figures after;
    std::cout << "before: " << before << "\nafter " << calls << " calls with " << sShared->lines
              << " lines about " << sShared->born << " processes: " << after << std::endl;
    EXPECT_LT(calls / 20, sShared->lines) << "too few hangs to be told about";
    EXPECT_LT(calls / 100, sShared->born) << "too few processes come and go";
    EXPECT_EQ(before.pid, after.pid);
    EXPECT_EQ(Texts{"stallscope started"}, linesOf(readFile("/var/log/stallscope-init.log")));
    EXPECT_EQ(before.fds, after.fds);
    EXPECT_GE(12, after.threads);
    EXPECT_GE(before.rssKb + (kIsSanitized ? 300'000 : 4096), after.rssKb);
}

}  // namespace
}  // namespace android::test
