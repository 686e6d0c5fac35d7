// Ten clients and every method, while the processes that they ask about are born, hang and die.
// STALLSCOPE_SOAK_CALLS is the number of calls.

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <regex>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using binder::Status;

constexpr int kClients = 10;
constexpr int kServices = 3;
constexpr int kProcesses = 12;
constexpr int kMethods = 12;
constexpr char kFolder[] = "/tmp/soak";

// Shared by the processes of the test. None of them but the clients has to do with the daemon: what
// the library of a forked process knows of binder is its parent's.
struct Shared {
    std::atomic<long> nextCall = 0;
    std::atomic<long> answered[kMethods] = {};
    std::atomic<long> unanswered = 0;
    std::atomic<long> spoilt = 0;
    std::atomic<long> lines = 0;
    std::atomic<long> born = 0;
    std::atomic<pid_t> pids[kProcesses] = {};
};
Shared* sShared;

long wantedCalls() {
    const char* calls = getenv("STALLSCOPE_SOAK_CALLS");
    return calls == nullptr ? 1500 : atol(calls);
}

pid_t inChild(const std::function<void()>& run) {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run();
        _exit(0);
    }
    return pid;
}

String16 serviceName(int i) {
    return String16(("soak.service" + std::to_string(i)).c_str());
}

// Takes its time, and the first ones call the next.
class SlowService : public BBinder {
  public:
    explicit SlowService(int number) : mNumber(number) {}

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        usleep(200'000);
        sp<IBinder> next = defaultServiceManager()->checkService(serviceName(mNumber + 1));
        return next == nullptr ? BBinder::onTransact(code, data, reply, flags)
                               : next->transact(code, data, reply, flags);
    }

  private:
    int mNumber;
};

void live(int number, unsigned seed) {
    std::minstd_rand random(seed);
    const char* const adjs[] = {"-1000", "-900", "-950", "0", "900"};
    writeFile("/proc/self/oom_score_adj", adjs[random() % std::size(adjs)]);
    prctl(PR_SET_NAME, ("soak(" + std::to_string(seed) + "]").c_str());
    // The end of most, also in the middle of a call.
    ualarm(100'000 + random() % 800'000, 0);
    if (number < kServices) {
        ProcessState::self()->startThreadPool();
        defaultServiceManager()->addService(serviceName(number), new SlowService(number));
        IPCThreadState::self()->joinThreadPool();
    }
    while (true) {
        sp<IBinder> service = defaultServiceManager()->checkService(serviceName(random() % 2));
        if (service == nullptr) {
            usleep(20'000);
            continue;
        }
        Parcel data, reply;
        service->transact(1 + random() % 3, data, &reply,
                          random() % 4 == 0 ? IBinder::FLAG_ONEWAY : 0);
    }
}

// Has a new process born for each that dies.
void keepProcesses() {
    for (unsigned seed = 1;; ++seed) {
        for (int i = 0; i < kProcesses; ++i) {
            pid_t pid = sShared->pids[i];
            if (pid == 0 || waitpid(pid, nullptr, WNOHANG) == pid) {
                sShared->pids[i] = inChild([&] { live(i, seed * kProcesses + i); });
                ++sShared->born;
            }
        }
        usleep(50'000);
    }
}

bool isWholeListing(const std::string& text) {
    static const std::regex line("/proc/\\d+/fd/\\d+ -> .+");
    for (const std::string& each : linesOf(text)) {
        if (!std::regex_match(each, line)) {
            return false;
        }
    }
    return text.empty() || text.back() == '\n';
}

bool isWholeDump(const std::string& text, const std::string& firstLine) {
    return text.rfind(firstLine + "\n", 0) == 0 && text.back() == '\n' && hasWholeSections(text);
}

class Client {
  public:
    Client(int number, long calls)
          : mFolder(std::string(kFolder) + "/" + std::to_string(number)),
            mCalls(calls),
            mRandom(number) {
        fs::create_directories(mFolder);
    }

    void run() {
        mDaemon = stallscope();
        for (long i; (i = sShared->nextCall++) < mCalls;) {
            const int method = pick(i);
            mFile = mFolder + "/" + std::to_string(i);
            Status status = call(method);
            if (!status.isOk()) {
                fprintf(stderr, "call %ld, method %d: %s\n", i, method + 1,
                        status.toString8().c_str());
            }
            ++(status.isOk() ? sShared->answered[method] : sShared->unanswered);
            sShared->lines += mLines.size();
        }
    }

  private:
    // Every method in its turn, but captures, which take long in an emulated machine, more rarely.
    static int pick(long call) {
        const int turn = static_cast<int>(call % 200);
        const int captures[] = {0, 9, 10, 11};
        return turn < 4 ? captures[turn] : 1 + turn % 8;
    }

    Status call(int method) {
        const pid_t pid = sShared->pids[mRandom() % kProcesses];
        const pid_t other = sShared->pids[mRandom() % kProcesses];
        mLines.clear();
        Texts* lines = &mLines;
        Texts l[7];
        bool flag;
        int number;
        switch (method) {
            case 0:
                fs::create_directories(mFolder + "/job");
                return mDaemon->dumpTraceWithBinderInfo(
                        pid, true, {String16("nobody")},
                        String16((mFolder + "/job/" + std::to_string(pid)).c_str()));
            case 1:
                return mDaemon->getTransaction(pid, lines, l, l + 1, l + 2, l + 3, l + 4, l + 5,
                                               l + 6, &flag);
            case 2:
                return mDaemon->getAsyncTransaction(pid, other, lines, l, l + 1, &flag);
            case 3:
                return mDaemon->getThreadFullInfo(pid, lines, l, l + 1);
            case 4:
                return mDaemon->printfProcBinderInfo(pid, "soak");
            case 5:
                return mDaemon->checkTransaction(pid, 0, lines, l, &flag);
            case 6:
                return mDaemon->getTransactProc(pid, "soak", l, l + 1, lines);
            case 7:
                return mDaemon->getFdSize(pid, &number);
            case 8: {
                Status status = mDaemon->catchFdInfo(mFile, pid);
                return checked(status, isWholeListing);
            }
            case 9: {
                Status status = mDaemon->dumpTraceForPidWithTimeout(pid, 10, mFile, &flag);
                return checked(status, hasWholeSections);
            }
            case 10: {
                Status status = mDaemon->dumpTraceForPidList({pid, other}, "subject", mFile);
                return checked(status, [](const std::string& text) {
                    return isWholeDump(text, "subject");
                });
            }
            default:
                return mDaemon->dumpTraceForPidListAsync({pid, other}, "subject", mFile + ".later");
        }
    }

    Status checked(const Status& status, const std::function<bool(const std::string&)>& isWhole) {
        if (fs::exists(mFile) && !isWhole(readFile(mFile))) {
            fprintf(stderr, "%s is not whole:\n%s\n", mFile.c_str(), readFile(mFile).c_str());
            ++sShared->spoilt;
        }
        fs::remove(mFile);
        return status;
    }

    const std::string mFolder;
    std::string mFile;
    Texts mLines;
    const long mCalls;
    std::minstd_rand mRandom;
    sp<IStallscope> mDaemon;
};

void runClients(long calls) {
    sShared->nextCall = 0;
    std::vector<pid_t> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.push_back(inChild([&] { Client(i, calls).run(); }));
    }
    for (pid_t client : clients) {
        int status = -1;
        waitpid(client, &status, 0);
        EXPECT_EQ(0, status);
    }
    EXPECT_TRUE(eventually(isDaemonIdle, 120));
}

struct Figures {
    pid_t pid = daemonPid();
    size_t fds = countFds(pid);
    int threads = std::stoi(statusOf(pid, "Threads"));
    long rssKb = std::stol(statusOf(pid, "VmRSS"));
};

void print(const char* when, const Figures& figures) {
    printf("%s: pid %d, %zu descriptors, %d threads, %ld kB resident\n", when, figures.pid,
           figures.fds, figures.threads, figures.rssKb);
    fflush(stdout);
}

TEST(SoakTest, NothingIsLostAndNothingIsLeftBehind) {
    sShared = new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) Shared;
    fs::create_directories(kFolder);
    inChild([] {
        sp<IStallscope> held = stallscope();
        pause();
    });
    inChild(keepProcesses);
    EXPECT_TRUE(eventually([] { return sShared->pids[kProcesses - 1] != 0 && daemonPid() != 0; }));
    auto start = std::chrono::steady_clock::now();
    runClients(std::max(300L, wantedCalls() / 20));
    const Figures before;
    print("before", before);
    for (std::atomic<long>& method : sShared->answered) {
        method = 0;
    }

    runClients(wantedCalls());

    const Figures after;
    print("after", after);
    long answered = 0;
    for (std::atomic<long>& method : sShared->answered) {
        EXPECT_LT(0, method);
        printf("%ld ", method.load());
        answered += method;
    }
    printf("calls by method, %ld lines, %ld processes, %.0f s\n", sShared->lines.load(),
           sShared->born.load(),
           std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    EXPECT_EQ(wantedCalls(), answered);
    EXPECT_LT(wantedCalls() / 20, sShared->lines) << "too few hangs to be told about";
    EXPECT_EQ(0, sShared->unanswered);
    EXPECT_EQ(0, sShared->spoilt);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kFolder)) {
        const std::string text = entry.is_regular_file() ? readFile(entry.path()) : "";
        if (entry.path().extension() == ".later") {
            EXPECT_TRUE(isWholeDump(text, "subject")) << text;
        } else if (entry.path().parent_path().filename() == "job") {
            EXPECT_TRUE(isWholeDump(text, "Binder Info:")) << text;
        }
    }
    EXPECT_EQ(before.pid, after.pid);
    EXPECT_EQ(Texts{"stallscope started"}, linesOf(readFile("/var/log/stallscope-init.log")));
    EXPECT_EQ(before.fds, after.fds);
    EXPECT_GE(12, after.threads);
    EXPECT_GE(before.rssKb + (kIsSanitized ? 300'000 : 4096), after.rssKb);
}

}  // namespace
}  // namespace android::test
