// Ten clients and every method, while the processes that they ask about are born, hang and die.
// STALLSCOPE_SOAK_CALLS is the number of calls.

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <filesystem>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

constexpr int kClients = 10;
constexpr int kProcesses = 8;

// Shared by the processes of the test. This one has nothing to do with the daemon: what the library
// of a forked process knows of binder is its parent's.
struct Shared {
    std::atomic<long> nextCall = 0;
    std::atomic<long> answered = 0;
    std::atomic<long> lines = 0;
    std::atomic<long> born = 0;
    std::atomic<pid_t> pids[kProcesses] = {};
};
Shared* sShared;

pid_t inChild(const std::function<void()>& run) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run();
        _exit(0);
    }
    return pid;
}

// One after the other: the processes of the one before are killed.
void keepHangs() {
    for (int next = 0;;) {
        for (const char* shape :
             {"chain", "cycle", "callback", "oneway", "exhausted", "vanished"}) {
            for (const auto& [name, pid] : StagedHang(shape).pids) {
                sShared->pids[next++ % kProcesses] = pid;
                ++sShared->born;
            }
            sleep(1);
        }
    }
}

// Every method in its turn, but those that capture, which take long in an emulated machine, more
// rarely.
Texts wordsOf(long call, const std::string& jobs) {
    const std::string pid = std::to_string(sShared->pids[rand() % kProcesses]);
    const std::string other = std::to_string(sShared->pids[rand() % kProcesses]);
    const std::string number = std::to_string(call), file = "/tmp/soak/" + number;
    const Texts reports[] = {{"getTransaction", pid},
                             {"getAsyncTransaction", pid, other},
                             {"getThreadFullInfo", pid},
                             {"printfProcBinderInfo", pid, "soak"},
                             {"checkTransaction", pid, "0"},
                             {"getTransactProc", pid, "soak"},
                             {"getFdSize", pid},
                             {"catchFdInfo", file + ".fds", pid}};
    const Texts captures[] = {
            {"dumpTraceWithBinderInfo", pid, "true", "nobody", jobs + number + ".job"},
            {"dumpTraceForPidWithTimeout", pid, "10", file + ".trace"},
            {"dumpTraceForPidList", pid + "," + other, "subject", file + ".list"},
            {"dumpTraceForPidListAsync", pid + "," + other, "subject", file + ".list"}};
    return call % 200 < 4 ? captures[call % 200] : reports[call % 8];
}

void runClient(int client, long calls) {
    srand(client);
    // A folder of its own, since jobs prune it.
    const std::string jobs = "/tmp/soak/jobs" + std::to_string(client) + "/";
    sp<IStallscope> daemon = stallscope();
    for (long i; (i = sShared->nextCall++) < calls;) {
        const Answer answer = callMethod(*daemon, wordsOf(i, jobs));
        sShared->answered += answer.status.isOk() ? 1 : 0;
        sShared->lines += answer.lists.empty() ? 0 : answer.lists[0].second.size();
    }
}

// Every call is answered, and every file is whole.
void runClients(long calls) {
    std::filesystem::create_directories("/tmp/soak");
    sShared->nextCall = sShared->answered = 0;
    std::vector<pid_t> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.push_back(inChild([&] { runClient(i, calls); }));
    }
    for (pid_t client : clients) {
        waitpid(client, nullptr, 0);
    }
    EXPECT_TRUE(eventually(GuestTest::isDaemonIdle, 120));
    EXPECT_EQ(calls, sShared->answered);
    for (const auto& file : std::filesystem::recursive_directory_iterator("/tmp/soak")) {
        if (!file.is_regular_file()) {
            continue;
        }
        const std::string text = readFile(file.path()), kind = file.path().extension();
        SCOPED_TRACE(file.path().string() + ":\n" + text);
        EXPECT_TRUE(text.empty() || text.back() == '\n');
        EXPECT_EQ(kind == ".list", text.rfind("subject\n", 0) == 0);
        EXPECT_EQ(kind == ".job", text.rfind("Binder Info:\n", 0) == 0);
        // A job's captures have a second each, which may be too little here.
        EXPECT_TRUE(kind == ".job" || count(text, "\n----- pid ") == count(text, "\n----- end "));
    }
    std::filesystem::remove_all("/tmp/soak");
}

// Descriptors, threads and kilobytes resident.
std::array<long, 3> figures() {
    const pid_t pid = daemonPid();
    return {static_cast<long>(countFds(pid)), std::stol(statusOf(pid, "Threads")),
            std::stol(statusOf(pid, "VmRSS"))};
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
    EXPECT_TRUE(eventually([] { return sShared->born >= kProcesses && daemonPid() != 0; }, 120));
    runClients(500);
    const pid_t pid = daemonPid();
    const auto before = figures();
    runClients(calls);
    const auto after = figures();
    printf("%ld calls, %ld lines, %ld processes; descriptors, threads and kB resident: %s, then "
           "%s\n",
           calls, sShared->lines.load(), sShared->born.load(),
           testing::PrintToString(before).c_str(), testing::PrintToString(after).c_str());
    EXPECT_LT(calls / 20, sShared->lines) << "too few hangs to be told about";
    EXPECT_LT(calls / 200, sShared->born) << "too few processes come and go";
    EXPECT_EQ(pid, daemonPid());
    EXPECT_EQ(before[0], after[0]);
    EXPECT_GE(12, after[1]);
    EXPECT_GE(before[2] + (kIsSanitized ? 300'000 : 512), after[2]);
}

}  // namespace
}  // namespace android::test
