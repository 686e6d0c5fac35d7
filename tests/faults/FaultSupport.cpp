#include "tests/faults/FaultSupport.h"

#include <binder/IServiceManager.h>
#include <signal.h>
#include <sys/mount.h>

#include <filesystem>
#include <regex>

#include "tests/guest/KernelCalls.h"

namespace android::test {

namespace fs = std::filesystem;

std::string procFile(pid_t pid, const std::string& name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

pid_t stageProcess(const std::string& knobs) {
    return startInBackground("\"$STALLSCOPE_STAGE_BIN/stage_process\" " + knobs);
}

pid_t stageCaller(const std::string& knobs) {
    pid_t pid = stageProcess(knobs + " --main call:fault.hardware");
    EXPECT_TRUE(eventually([&] {
        // Before that it calls servicemanager.
        std::vector<Call> calls = callsOf(pid, "outgoing");
        return calls.size() == 1 && calls[0].toPid == hang().hardware;
    }));
    return pid;
}

pid_t stageCrowd() {
    pid_t pid = stageProcess("--adj -1000 --idle-threads 40");
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

const Hang& hang() {
    static Hang sHang;
    if (sHang.hardware == 0) {
        // Threads enough for every test: a call of a process that has ended keeps its thread.
        sHang.hardware = stageProcess(
                "--cmdline fault.hardware --adj -1000 --serve fault.hardware --threads 30");
        sHang.app = stageCaller("--cmdline fault.app --adj 0");
    }
    return sHang;
}

Report getTransaction(const sp<IStallscope>& daemon, pid_t pid) {
    Report report;
    Texts others[4];
    bool isBlocked = false;
    binder::Status status = daemon->getTransaction(pid, &report.lines, &report.java, &report.native,
                                                   &report.senders, &others[0], &others[1],
                                                   &others[2], &others[3], &isBlocked);
    EXPECT_TRUE(status.isOk()) << status;
    return report;
}

bool capture(const sp<IStallscope>& daemon, pid_t pid, const std::string& file) {
    bool isCaptured = false;
    binder::Status status = daemon->dumpTraceForPidWithTimeout(pid, 20, file, &isCaptured);
    EXPECT_TRUE(status.isOk()) << status;
    return isCaptured;
}

bool hasWholeSections(const std::string& text) {
    static const std::regex mark("----- (pid|end) (\\d+) ");
    static const std::regex wholeSections("(pid (\\d+) end \\2 )*");
    std::string marks;
    for (std::sregex_iterator it(text.begin(), text.end(), mark), end; it != end; ++it) {
        marks += it->format("$1 $2 ");
    }
    return std::regex_match(marks, wholeSections);
}

void expectEverythingWorks(const sp<IStallscope>& daemon) {
    Report report = getTransaction(daemon, hang().app);
    EXPECT_EQ(1U, report.lines.size());
    EXPECT_EQ(Texts{std::to_string(hang().hardware)}, report.native);

    int size = 0;
    EXPECT_TRUE(daemon->getFdSize(hang().app, &size).isOk());
    EXPECT_EQ(countFds(hang().app) + 2, static_cast<size_t>(size));

    const std::string file = "/tmp/everything-works";
    fs::remove(file);
    EXPECT_TRUE(capture(daemon, hang().hardware, file));
    std::string stacks = readFile(file);
    EXPECT_THAT(stacks, testing::HasSubstr("waitForSensorThatNeverAnswers"));
    EXPECT_TRUE(hasWholeSections(stacks)) << stacks;
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

size_t threadsIn(pid_t pid, const std::string& kernelFunction) {
    size_t count = 0;
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator(procFile(pid, "task"), gone)) {
        count += readFile(entry.path() / "wchan").rfind(kernelFunction, 0) == 0 ? 1 : 0;
    }
    return count;
}

size_t daemonThreadsIn(const std::string& kernelFunction) {
    return threadsIn(daemonPid(), kernelFunction);
}

bool isDaemonIdle() {
    return std::to_string(daemonThreadsIn("binder_")) == statusOf(daemonPid(), "Threads");
}

size_t countFds(pid_t pid) {
    auto entries = fs::directory_iterator(procFile(pid, "fd"));
    return std::distance(fs::begin(entries), fs::end(entries));
}

Texts takeErrors() {
    static const std::regex ordinary(
            "succeeded for pid|processes done|Failed to open /proc/|No transactions found for pid|"
            "Native stack dump failed");
    Texts errors;
    for (const std::string& line : takeDaemonLog()) {
        if (line.rfind("E ", 0) == 0 && !std::regex_search(line, ordinary)) {
            errors.push_back(line.substr(2));
        }
    }
    return errors;
}

OtherKernelLog::OtherKernelLog(const std::string& path) {
    EXPECT_EQ(0, mount(path.c_str(), kKernelLog, nullptr, MS_BIND, nullptr));
}

OtherKernelLog::~OtherKernelLog() {
    EXPECT_EQ(0, umount2(kKernelLog, MNT_DETACH));
}

sp<IStallscope> startAsUser(int uid) {
    if (daemonPid() != 0) {
        const size_t exits = exitsOfTheDaemon().size();
        killDaemon();
        EXPECT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
    }
    // What the build made may lie in a folder that is closed to others; in the guest it can be
    // opened.
    output("for file in " DAEMON " $(ldd " DAEMON
           " | grep -o '/[^ ]*'); do"
           " while file=${file%/*}; [ \"$file\" ]; do echo \"$file\"; done; done |"
           " sort -u | xargs chmod o+x");
    const std::string user = std::to_string(uid);
    startInBackground("sh -c 'cd /; setpriv --reuid=" + user + " --regid=" + user +
                      " --clear-groups env $STALLSCOPE_DAEMON_ENV " DAEMON
                      " >>/var/log/stallscope.log 2>&1; "
                      "echo stallscope exited with status $? >>/var/log/stallscope-init.log'");
    sp<IBinder> binder;
    EXPECT_TRUE(eventually([&] {
        binder = defaultServiceManager()->checkService(String16("StallScopeService"));
        return binder != nullptr && binder->pingBinder() == OK;
    }));
    return interface_cast<IStallscope>(binder);
}

void FaultTest::SetUp() {
    hang();
    mDaemon = stallscope();
    getTransaction(mDaemon, hang().app);
    mPid = daemonPid();
    mFds = countFds(mPid);
    takeErrors();
}

void FaultTest::TearDown() {
    EXPECT_EQ(mPid, daemonPid());
    EXPECT_EQ(mFds, countFds(mPid));
    expectEverythingWorks(mDaemon);
}

}  // namespace android::test
