#include "tests/faults/FaultSupport.h"

#include <binder/IServiceManager.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "tests/guest/KernelCalls.h"

namespace android::test {

namespace fs = std::filesystem;

pid_t stageProcess(const std::string& knobs) {
    return startInBackground("\"$STALLSCOPE_STAGE_BIN/stage_process\" " + knobs);
}

void killAndReap(pid_t pid) {
    kill(pid, SIGKILL);
    EXPECT_TRUE(eventually([&] { return !fs::exists("/proc/" + std::to_string(pid)); }));
}

bool isNative(pid_t pid) {
    return readFile("/proc/" + std::to_string(pid) + "/oom_score_adj") == "-1000\n";
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

void expectEverythingWorks(const sp<IStallscope>& daemon) {
    Texts lines, java, native, others[5];
    bool isBlocked = false;
    EXPECT_TRUE(daemon->getTransaction(hang().app, &lines, &java, &native, &others[0], &others[1],
                                       &others[2], &others[3], &others[4], &isBlocked)
                        .isOk());
    EXPECT_EQ(1U, lines.size());
    EXPECT_EQ(Texts{std::to_string(hang().hardware)}, native);

    int size = 0;
    EXPECT_TRUE(daemon->getFdSize(hang().app, &size).isOk());
    EXPECT_EQ(countFds(hang().app) + 2, static_cast<size_t>(size));

    const std::string file = "/tmp/everything-works";
    fs::remove(file);
    bool isCaptured = false;
    EXPECT_TRUE(daemon->dumpTraceForPidWithTimeout(hang().hardware, 20, file, &isCaptured).isOk());
    EXPECT_TRUE(isCaptured);
    std::string stacks = readFile(file);
    EXPECT_NE(std::string::npos, stacks.find("waitForSensorThatNeverAnswers")) << stacks;
    EXPECT_TRUE(hasWholeSections(stacks)) << stacks;
}

std::vector<int> exitsOfTheDaemon() {
    const std::string start = "stallscope exited with status ";
    std::vector<int> statuses;
    for (const std::string& line : linesOf(readFile("/var/log/stallscope-init.log"))) {
        if (line.rfind(start, 0) == 0) {
            statuses.push_back(std::stoi(line.substr(start.size())));
        }
    }
    return statuses;
}

size_t daemonThreadsIn(const std::string& kernelFunction) {
    size_t count = 0;
    std::error_code gone;
    for (const auto& entry :
         fs::directory_iterator("/proc/" + std::to_string(daemonPid()) + "/task", gone)) {
        count += readFile(entry.path() / "wchan").rfind(kernelFunction, 0) == 0 ? 1 : 0;
    }
    return count;
}

bool isDaemonIdle() {
    return std::to_string(daemonThreadsIn("binder_")) == statusOf(daemonPid(), "Threads");
}

size_t countFds(pid_t pid) {
    auto entries = fs::directory_iterator("/proc/" + std::to_string(pid) + "/fd");
    return std::distance(fs::begin(entries), fs::end(entries));
}

Texts takeErrors() {
    static const std::regex ordinary(
            "succeeded for pid|processes done|Failed to open /proc/|"
            "No transactions found for pid");
    Texts errors;
    for (const std::string& line : takeDaemonLog()) {
        if (line.rfind("E ", 0) == 0 && !std::regex_search(line, ordinary)) {
            errors.push_back(line.substr(2));
        }
    }
    return errors;
}

void refuseNewThreads(pid_t pid) {
    const std::string group = "/tmp/cgroup/full";
    fs::create_directories("/tmp/cgroup");
    if (!fs::exists("/tmp/cgroup/cgroup.procs")) {
        EXPECT_EQ(0, mount("cgroup2", "/tmp/cgroup", "cgroup2", 0, nullptr));
        writeFile("/tmp/cgroup/cgroup.subtree_control", "+pids");
        fs::create_directories(group);
        writeFile(group + "/pids.max", "1");
    }
    writeFile(group + "/cgroup.procs", std::to_string(pid));
    EXPECT_EQ(std::to_string(pid) + "\n", readFile(group + "/cgroup.procs"));
}

OtherKernelLog::OtherKernelLog(const std::string& path) {
    EXPECT_EQ(0, mount(path.c_str(), kKernelLog, nullptr, MS_BIND, nullptr));
}

OtherKernelLog::~OtherKernelLog() {
    EXPECT_EQ(0, umount2(kKernelLog, MNT_DETACH));
}

FileSystem::FileSystem(const std::string& path, const std::string& options) : mPath(path) {
    fs::create_directories(path);
    EXPECT_EQ(0, mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str())) << options;
}

FileSystem::~FileSystem() {
    EXPECT_EQ(0, umount2(mPath.c_str(), MNT_DETACH));
}

void FileSystem::remount(const std::string& options, unsigned long flags) const {
    EXPECT_EQ(0, mount(nullptr, mPath.c_str(), nullptr, MS_REMOUNT | flags, options.c_str()));
}

// What the build made may lie in a folder that is closed to others; in the guest it can be opened.
static void openToEverybody(const std::string& program) {
    for (const std::string& file :
         linesOf(output("echo '" + program + "'; ldd '" + program + "' | grep -o '/[^ ]*'"))) {
        for (fs::path folder = fs::path(file).parent_path(); folder != folder.root_path();
             folder = folder.parent_path()) {
            if ((fs::status(folder).permissions() & fs::perms::others_exec) == fs::perms::none) {
                fs::permissions(folder, fs::perms::others_exec, fs::perm_options::add);
            }
        }
    }
}

sp<IStallscope> startAsUser(int uid) {
    if (daemonPid() != 0) {
        killDaemon();
    }
    openToEverybody(DAEMON);
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

bool hasWholeSections(const std::string& text) {
    std::string open;
    for (const std::string& line : linesOf(text)) {
        std::smatch pid;
        static const std::regex begin("----- pid (\\d+) at .* -----"),
                end("----- end (\\d+) -----");
        if (std::regex_match(line, pid, begin)) {
            if (!open.empty()) {
                return false;
            }
            open = pid[1];
        } else if (std::regex_match(line, pid, end)) {
            if (open != pid[1]) {
                return false;
            }
            open.clear();
        }
    }
    return open.empty();
}

}  // namespace android::test
