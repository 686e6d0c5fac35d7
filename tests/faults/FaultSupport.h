#ifndef STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H
#define STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H

#include "tests/guest/GuestSupport.h"

namespace android::test {

// The address sanitizer keeps much of what was freed, and takes ends of its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
constexpr bool kIsSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kIsSanitized = false;
#endif

// Starts a process that plays a part in a hang; host/staging has the knobs.
pid_t stageProcess(const std::string& knobs);
// One whose main thread waits for the hardware of hang().
pid_t stageCaller(const std::string& knobs);
void killAndReap(pid_t pid);
// Whether its oom_score_adj has become that of a native process.
bool isNative(pid_t pid);

// A hang that lasts as long as the guest: app waits for hardware, which never answers.
struct Hang {
    pid_t app = 0;
    pid_t hardware = 0;
};
const Hang& hang();

// Fails unless the daemon tells of the hang, counts descriptors and captures stacks.
void expectEverythingWorks(const sp<IStallscope>& daemon);

// The exit statuses of the daemon that init has noted so far.
std::vector<int> exitsOfTheDaemon();

// How many threads of the daemon wait in a kernel function.
size_t daemonThreadsIn(const std::string& kernelFunction);
// Whether all of them wait for calls: nothing runs in the background.
bool isDaemonIdle();
size_t countFds(pid_t pid);

// The ERROR lines of the daemon since the last time as "function: message". Leaves out those that
// tell of a success or of a process that is not there.
Texts takeErrors();

// From now on the process can start neither threads nor processes.
void refuseNewThreads(pid_t pid);

// In place of the kernel's log while it lives.
class OtherKernelLog {
  public:
    explicit OtherKernelLog(const std::string& path);
    ~OtherKernelLog();
};

// A file system in memory. What `options` of mount are not given is unlimited.
class FileSystem {
  public:
    FileSystem(const std::string& path, const std::string& options);
    ~FileSystem();
    void remount(const std::string& options, unsigned long flags = 0) const;

  private:
    std::string mPath;
};

// Starts the daemon as an ordinary user in place of init's.
sp<IStallscope> startAsUser(int uid);

// Whether each section of stacks in a text that was begun was also ended.
bool hasWholeSections(const std::string& text);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H
