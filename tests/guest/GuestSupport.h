#ifndef STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H
#define STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H

#include <gmock/gmock.h>

#include "binderlog/BinderTransaction.h"
#include "tests/support/MethodCall.h"

namespace android::test {

constexpr pid_t kNobody = 4194304;  // one more than the highest process id there can be
constexpr char kKernelLog[] = "/dev/binderfs/binder_logs/transactions";

// The address sanitizer keeps much of what was freed, and takes ends of its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
constexpr bool kIsSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kIsSanitized = false;
#endif

// The daemon, by way of servicemanager, which has it started when it does not run. Hold on to it
// while detached work goes on: a daemon without clients is stopped after a few seconds.
sp<IStallscope> stallscope();
pid_t daemonPid();  // 0 when it does not run
// The exit statuses of the daemon that init has noted so far.
std::vector<int> exitsOfTheDaemon();
// What the daemon has written to its standard error so far; the reason of an abort is there.
std::string outputOfTheDaemon();
void forgetOutputOfTheDaemon();
// Also done at the end of each program of tests.
void expectNoSanitizerReport();

// What the daemon has logged since the last call, with elapsed times masked: lines as in
// tests/support/Events.h. Leaves out what its libraries log and the parser's lines, which repeat
// the kernel's log.
Texts takeDaemonLog();

// A hang that is staged in place of the one before.
struct StagedHang {
    StagedHang() = default;
    explicit StagedHang(const std::string& shape);

    pid_t operator[](const std::string& name) const { return pids.at(name); }
    // The texts with each $NAME replaced by the process id.
    std::string text(std::string form) const;
    Texts texts(Texts forms) const;

    std::map<std::string, pid_t> pids;
};

// A shell command that lives until the guest stops.
pid_t startInBackground(const std::string& shellCommand);
// A process that plays a part in a hang; host/staging has the knobs.
pid_t stageProcess(const std::string& knobs);
// A native one with 41 threads that wait for nothing, whose stacks take more than a page.
pid_t stageCrowd();
void killAndReap(pid_t pid);
// How many threads of a process wait in a kernel function.
size_t threadsIn(pid_t pid, const std::string& kernelFunction);
size_t countFds(pid_t pid);

using Calls = std::vector<BinderTransaction>;

// What the kernel's log has in the sections of a process, read by other means than the daemon's:
// "outgoing", "incoming", "pending async" or all.
Calls callsOf(pid_t section, const std::string& type = "");
// What reports say of them, with masked elapsed time: with the names in /proc, or without.
Texts namedLines(const Calls& calls);
Texts plainLines(const Calls& calls);
// With T for elapsed times, which go on.
Texts masked(Texts lines);
std::string cmdlineOf(pid_t pid);

class GuestTest : public testing::Test {
  public:
    // Whether nothing runs in the daemon's background: all its threads wait for calls.
    static bool isDaemonIdle();

  protected:
    // Of a call that gets through.
    Answer ask(const Texts& words) {
        Answer answer = callMethod(*mDaemon, words);
        EXPECT_TRUE(answer.status.isOk()) << words[0] << ": " << answer.status;
        return answer;
    }
    // The daemon counts descriptors and captures stacks.
    void expectEverythingWorks();

    sp<IStallscope> mDaemon = stallscope();
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H
