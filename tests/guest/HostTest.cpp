// The daemon's life in the guest: how it starts, what it logs meanwhile, and how it ends.

#include <binder/IPCThreadState.h>

#include <algorithm>

#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

const Texts kStart = {"D 0/stallscope: main: StallScopeStarting stallscope",
                      "D 0/stallscope: main: StallScopeStarting endstallscope"};
const std::string kAnnouncement =
        "D getThreadFullInfo: StallScopeService getThreadFullInfo pid: 4194304";
const Texts kErrors = {"E getFdAmount: open fdDir fail!",
                       "E getBinderThreadFullInfo: No transactions found for pid 4194304"};

Texts takeLogOfMain() {
    Texts log = takeDaemonLog();
    auto isOther = [](const std::string& line) { return line.find("0/stallscope: ") != 2; };
    log.erase(std::remove_if(log.begin(), log.end(), isOther), log.end());
    return log;
}

Texts logOfCalls(const sp<IStallscope>& daemon) {
    takeDaemonLog();
    int size = 0;
    Texts lists[3];
    EXPECT_TRUE(daemon->getFdSize(kNobody, &size).isOk());
    EXPECT_TRUE(daemon->getThreadFullInfo(kNobody, &lists[0], &lists[1], &lists[2]).isOk());
    EXPECT_EQ(-1, size);
    return takeDaemonLog();
}

TEST(HostTest, DebugSwitchIsReadWhenTheDaemonStarts) {
    EXPECT_EQ(0, daemonPid());
    sp<IStallscope> daemon = stallscope();
    EXPECT_NE(0, daemonPid());
    EXPECT_EQ(Texts(), takeLogOfMain());
    EXPECT_EQ(kErrors, logOfCalls(daemon));

    setDebugSwitch("TRUE");
    EXPECT_EQ(kErrors, logOfCalls(daemon));

    killDaemon();
    daemon = stallscope();
    EXPECT_EQ(kStart, takeLogOfMain());
    EXPECT_EQ((Texts{kErrors[0], kAnnouncement, kErrors[1]}), logOfCalls(daemon));
}

TEST(HostTest, DaemonIsStoppedWithoutClientsAndStartedForTheNext) {
    sp<IStallscope> daemon = stallscope();
    pid_t former = daemonPid();
    daemon = nullptr;
    IPCThreadState::self()->flushCommands();  // otherwise the driver hears of it much later
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));

    daemon = stallscope();
    EXPECT_NE(former, daemonPid());
    int size = 0;
    EXPECT_TRUE(daemon->getFdSize(1, &size).isOk());
    EXPECT_LT(2, size);
}

// Applications may not register services. This one may enter folders that are root's alone, since
// the build may lie there.
TEST(HostTest, FailedRegistrationEndsTheDaemonWithStatus255) {
    setDebugSwitch("true");
    sp<IStallscope> daemon = stallscope();
    const std::string program = cmdlineOf(daemonPid());
    takeDaemonLog();
    EXPECT_EQ("255", output("cd / && setpriv --reuid=10000 --regid=10000 --clear-groups "
                            "--inh-caps=+dac_override --ambient-caps=+dac_override "
                            "env $STALLSCOPE_DAEMON_ENV '" +
                            program + "' >&2; echo $?"));
    Texts expected = kStart;
    expected.push_back("E 0/stallscope: main: Couldn't register stallscope binder service!");
    EXPECT_EQ(expected, takeLogOfMain());
}

// That kernel's lines lack the elapsed time: all that is known of a call is that there is one.
TEST(OldKernelTest, CallsWithoutElapsedTimeAreReportedAsUnknown) {
    StagedHang hang("system");
    Texts lists[8];
    bool isBlocked = true;
    EXPECT_TRUE(stallscope()
                        ->getTransaction(hang["APP"], &lists[0], &lists[1], &lists[2], &lists[3],
                                         &lists[4], &lists[5], &lists[6], &lists[7], &isBlocked)
                        .isOk());
    EXPECT_EQ(Texts{"outgoing transaction from 0(unknown):0(unknown) to 0(unknown):0(unknown) "
                    "elapsed: 0.000000 s code: 0"},
              lists[0]);
    EXPECT_EQ(Texts(), lists[1]);
    EXPECT_EQ(Texts(), lists[2]);
    EXPECT_FALSE(isBlocked);
}

}  // namespace
}  // namespace android::test
