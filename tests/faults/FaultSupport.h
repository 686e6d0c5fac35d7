#ifndef STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H
#define STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H

#include <gmock/gmock.h>

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
// A native one with 41 threads that wait for nothing, whose stacks take more than a page.
pid_t stageCrowd();
void killAndReap(pid_t pid);
// A file of a process under /proc.
std::string procFile(pid_t pid, const std::string& name);

// A hang that lasts as long as the guest: app waits for hardware, which never answers.
struct Hang {
    pid_t app = 0;
    pid_t hardware = 0;
};
const Hang& hang();

struct Report {
    Texts lines, java, native, senders;
};
Report getTransaction(const sp<IStallscope>& daemon, pid_t pid);
// Whether the process could be captured.
bool capture(const sp<IStallscope>& daemon, pid_t pid, const std::string& file);
// Whether each section of stacks in a text that was begun was also ended.
bool hasWholeSections(const std::string& text);
// Fails unless the daemon tells of the hang, counts descriptors and captures stacks.
void expectEverythingWorks(const sp<IStallscope>& daemon);

// The exit statuses of the daemon that init has noted so far.
std::vector<int> exitsOfTheDaemon();
// How many threads of a process wait in a kernel function.
size_t threadsIn(pid_t pid, const std::string& kernelFunction);
size_t daemonThreadsIn(const std::string& kernelFunction);
// Whether all of them wait for calls: nothing runs in the background.
bool isDaemonIdle();
size_t countFds(pid_t pid);
// The ERROR lines of the daemon since the last time as "function: message". Leaves out those that
// tell of a success or of a process that is not there, and those by which a capture repeats that it
// has failed.
Texts takeErrors();

// In place of the kernel's log while it lives.
class OtherKernelLog {
  public:
    explicit OtherKernelLog(const std::string& path);
    ~OtherKernelLog();
};

// Starts the daemon as an ordinary user in place of init's.
sp<IStallscope> startAsUser(int uid);

// A daemon that has to be the same and as sound after the test, without more descriptors.
class FaultTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    sp<IStallscope> mDaemon;
    pid_t mPid = 0;
    size_t mFds = 0;
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_FAULTS_FAULTSUPPORT_H
