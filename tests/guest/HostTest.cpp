// The daemon's life in the guest: how it starts, what it logs meanwhile, and how it ends.

#include <binder/IPCThreadState.h>

#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

using testing::Contains;
using testing::Not;

const std::string kStarted = "D 0/stallscope: main: StallScopeStarting endstallscope";
const std::string kAnnouncement =
        "D getThreadFullInfo: StallScopeService getThreadFullInfo pid: 4194304";
const std::string kError = "E getBinderThreadFullInfo: No transactions found for pid 4194304";

Texts logOfACall(const sp<IStallscope>& daemon) {
    takeDaemonLog();
    Texts lists[3];
    EXPECT_TRUE(daemon->getThreadFullInfo(kNobody, &lists[0], &lists[1], &lists[2]).isOk());
    return takeDaemonLog();
}

TEST(HostTest, DebugSwitchIsReadWhenTheDaemonStarts) {
    EXPECT_EQ(0, daemonPid());
    sp<IStallscope> daemon = stallscope();
    EXPECT_NE(0, daemonPid());
    EXPECT_THAT(takeDaemonLog(), Not(Contains(kStarted)));
    EXPECT_EQ("", output(REPOSITORY "/host/guest/setprop "
                                    "persist.sys.stability.stallscope.debug.enable TRUE 2>&1"));
    EXPECT_EQ(Texts{kError}, logOfACall(daemon));

    killDaemon();
    daemon = stallscope();
    EXPECT_THAT(takeDaemonLog(), Contains(kStarted));
    EXPECT_EQ((Texts{kAnnouncement, kError}), logOfACall(daemon));
}

TEST(HostTest, DaemonIsStoppedWithoutClientsAndStartedForTheNext) {
    sp<IStallscope> daemon = stallscope();
    pid_t former = daemonPid();
    daemon = nullptr;
    IPCThreadState::self()->flushCommands();  // otherwise the driver hears of it much later
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));

    int sizes[2] = {};
    daemon = stallscope();
    EXPECT_NE(former, daemonPid());
    EXPECT_TRUE(daemon->getFdSize(1, &sizes[0]).isOk());
    EXPECT_TRUE(daemon->getFdSize(kNobody, &sizes[1]).isOk());
    EXPECT_LT(2, sizes[0]);
    EXPECT_EQ(-1, sizes[1]);
}

// Applications may not register services. This one may enter folders that are root's alone, since
// the build may lie there.
TEST(HostTest, FailedRegistrationEndsTheDaemonWithStatus255) {
    sp<IStallscope> daemon = stallscope();
    const std::string program = cmdlineOf(daemonPid());
    takeDaemonLog();
    EXPECT_EQ("255", output("cd / && setpriv --reuid=10000 --regid=10000 --clear-groups "
                            "--inh-caps=+dac_override --ambient-caps=+dac_override "
                            "env $STALLSCOPE_DAEMON_ENV '" +
                            program + "' >&2; echo $?"));
    EXPECT_THAT(takeDaemonLog(),
                Contains("E 0/stallscope: main: Couldn't register stallscope binder service!"));
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
    EXPECT_FALSE(isBlocked);
}

}  // namespace
}  // namespace android::test
