// The daemon's life in the guest: how it starts and ends, and that it is then started anew.

#include <binder/IPCThreadState.h>
#include <signal.h>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class HostTest : public GuestTest {
  protected:
    // `reason` is in what the daemon writes at its end.
    void expectEnd(const std::string& reason, const std::function<void()>& cause) {
        const pid_t former = daemonPid();
        const size_t exits = exitsOfTheDaemon().size();
        cause();
        ASSERT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
        EXPECT_EQ(128 + SIGABRT, exitsOfTheDaemon().back());
        EXPECT_THAT(outputOfTheDaemon(), HasSubstr(reason));
        forgetOutputOfTheDaemon();
        mDaemon = stallscope();
        EXPECT_NE(former, daemonPid());
        expectEverythingWorks();
    }
};

TEST_F(HostTest, DebugSwitchIsASystemPropertyReadAtTheStart) {
    const std::string started = "D 0/stallscope: main: StallScopeStarting endstallscope";
    EXPECT_THAT(takeDaemonLog(), Not(Contains(started)));
    EXPECT_EQ("", outputOf(REPOSITORY "/host/guest/setprop "
                                      "persist.sys.stability.stallscope.debug.enable TRUE 2>&1"));
    kill(daemonPid(), SIGKILL);
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));
    mDaemon = stallscope();
    EXPECT_THAT(takeDaemonLog(), Contains(started));
}

TEST_F(HostTest, DaemonIsStoppedWithoutClientsAndStartedForTheNext) {
    const pid_t former = daemonPid();
    mDaemon = nullptr;
    IPCThreadState::self()->flushCommands();  // otherwise the driver hears of it much later
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));
    mDaemon = stallscope();
    EXPECT_NE(former, daemonPid());
    EXPECT_EQ("-1", ask({"getFdSize", std::to_string(kNobody)}).result);
}

// Whoever makes such a call ends the daemon again and again, even when it has ended itself: the
// call stays in the log for as long as its receiver works on it.
TEST_F(HostTest, HangingCallWithALargeCodeEndsTheDaemonOnEachReport) {
    const pid_t receiver = stageProcess("--serve fault.receiver");
    const pid_t caller = stageProcess("--main call:fault.receiver --code ffffffff");
    EXPECT_TRUE(eventually([] { return count(readFile(kKernelLog), " code ffffffff ") > 0; }));
    for (pid_t next : {caller, receiver}) {
        expectEnd("what():  sto", [&] {
            const Answer answer = callMethod(*mDaemon, {"getThreadFullInfo", "1"});
            EXPECT_EQ(DEAD_OBJECT, answer.status.transactionError());
        });
        killAndReap(next);
    }
}

// Four bytes of a caller's: this libbinder has no other bound than memory.
TEST_F(HostTest, ListLongerThanMemoryEndsTheDaemon) {
    if (kIsSanitized) {
        GTEST_SKIP() << "the sanitizer reports the allocation";
    }
    Parcel data, reply;
    data.writeInterfaceToken(IStallscope::descriptor);
    data.writeInt32(1);
    data.writeInt32(INT32_MAX);
    expectEnd("std::bad_alloc", [&] {
        EXPECT_EQ(DEAD_OBJECT, IInterface::asBinder(mDaemon)->transact(4, data, &reply));
    });
}

// libbinder ends a daemon that loses its servicemanager: it frees the registrar's callback twice,
// which a sanitizer reports.
// The last test: this process has lost it as well, and only a new one can ask the new one.
TEST_F(HostTest, RestartOfServicemanagerEndsTheDaemonUntilTheNextRequest) {
    expectNoSanitizerReport();
    const size_t exits = exitsOfTheDaemon().size();
    EXPECT_EQ("", outputOf(REPOSITORY "/host/guest/restart-servicemanager 2>&1"));
    EXPECT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
    EXPECT_NE(0, exitsOfTheDaemon().back());
    forgetOutputOfTheDaemon();
    EXPECT_THAT(outputOf(STALLSCOPECTL " fds 1"),
                HasSubstr(std::to_string(countFds(1)) + " open descriptors"));
}

}  // namespace
}  // namespace android::test
