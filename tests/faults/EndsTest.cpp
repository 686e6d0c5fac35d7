// What ends the daemon, and that the platform then starts it anew.

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/FaultSupport.h"
#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class EndsTest : public testing::Test {
  protected:
    void SetUp() override {
        hang();
        fs::create_directories("/tmp/ends");
        mDaemon = stallscope();
    }
    void TearDown() override { expectEverythingWorks(mDaemon); }

    // `reason` is in what the daemon writes at its end.
    void expectEnd(const std::string& reason, const std::function<void()>& cause) {
        SCOPED_TRACE(reason);
        const pid_t former = daemonPid();
        const size_t exits = exitsOfTheDaemon().size();
        const size_t written = outputOfTheDaemon().size();
        cause();
        ASSERT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
        EXPECT_EQ(128 + SIGABRT, exitsOfTheDaemon().back());
        EXPECT_THAT(outputOfTheDaemon().substr(written), HasSubstr(reason));
        mDaemon = stallscope();
        EXPECT_NE(former, daemonPid());
    }

    void parse() {
        Texts lines, java, native;
        EXPECT_EQ(DEAD_OBJECT,
                  mDaemon->getThreadFullInfo(1, &lines, &java, &native).transactionError());
    }
    void job(const std::string& file) {
        mDaemon->dumpTraceWithBinderInfo(1, false, {}, String16(file.c_str()));
    }

    sp<IStallscope> mDaemon;
};

TEST_F(EndsTest, NumbersThatDoNotFit) {
    const std::string call = "proc 1\n  outgoing transaction 5: 0 from 1:1 to 1:1 code ";
    for (const std::string& log : {std::string("proc 2147483648\n"), call + "xyz elapsed 1ms\n",
                                   call + "1 elapsed 9223372036854775808ms\n"}) {
        SCOPED_TRACE(log);
        writeFile("/tmp/ends/log", log);
        expectEnd("what():  sto", [&] {
            OtherKernelLog other("/tmp/ends/log");
            parse();
        });
    }
}

// Whoever makes such a call ends the daemon again and again, even when it has ended itself: the
// call stays in the log for as long as its receiver works on it.
TEST_F(EndsTest, HangingCallWithALargeCode) {
    pid_t receiver = stageProcess("--serve fault.receiver");
    pid_t caller = stageProcess("--main call:fault.receiver --code ffffffff");
    EXPECT_TRUE(eventually([] { return count(readFile(kKernelLog), " code ffffffff ") > 0; }));
    for (pid_t next : {caller, receiver}) {
        expectEnd("what():  sto", [&] { parse(); });
        killAndReap(next);
    }
}

TEST_F(EndsTest, FoldersThatCannotBeExaminedOrPruned) {
    EXPECT_EQ("",
              output("cd /tmp/ends; touch regular; ln -s loop loop; mkdir many; (for i in 1 2 3 4 "
                     "5 6; do touch -d \"$i hours ago\" many/$i; done; mount --bind many/6 "
                     "many/6) 2>&1"));
    const std::pair<std::string, const char*> folders[] = {
            {std::string(4990, 'x'), "File name too long"},
            {"loop", "Too many levels of symbolic links"},
            {"regular", "Not a directory"},
            {"many", "Device or resource busy"}};
    for (const auto& [folder, reason] : folders) {
        const std::string file = "/tmp/ends/" + folder + "/file";
        expectEnd(reason, [&] { job(file); });
    }
}

TEST_F(EndsTest, FolderClosedToTheDaemonsUser) {
    mDaemon = startAsUser(1000);
    fs::create_directories("/tmp/ends/closed/folder");
    fs::permissions("/tmp/ends/closed", fs::perms::owner_all);
    expectEnd("Permission denied", [&] { job("/tmp/ends/closed/folder/file"); });
}

TEST_F(EndsTest, FolderRemovedDuringAJob) {
    pid_t slow = stageProcess("--cmdline fault.slow --adj -1000 --main uninterruptible");
    EXPECT_TRUE(eventually([&] { return statusOf(slow, "State")[0] == 'D'; }));
    expectEnd("No such file or directory", [&] {
        mDaemon->dumpTraceWithBinderInfo(hang().app, true, {String16("fault.slow")},
                                         String16("/tmp/ends/removed/file"));
        // Again when the job has just written into it.
        EXPECT_TRUE(eventually([] {
            std::error_code notEmpty;
            fs::remove_all("/tmp/ends/removed", notEmpty);
            return !notEmpty;
        }));
    });
    kill(slow, SIGKILL);
}

// Each removes what the others are about to look at.
TEST_F(EndsTest, JobsThatPruneOneFolderAtOnce) {
    output("mkdir /tmp/ends/shared; cd /tmp/ends/shared; touch $(seq 2000)");
    expectEnd("terminate called", [&] {
        for (int i = 0; i < 8; ++i) {
            job("/tmp/ends/shared/file");
            usleep(10000);
        }
    });
}

TEST_F(EndsTest, ThreadsThatCannotBeStarted) {
    for (bool isJob : {false, true}) {
        mDaemon = startAsUser(1000);
        const rlimit none = {0, 0};
        EXPECT_EQ(0, prlimit(daemonPid(), RLIMIT_NPROC, &none, nullptr));
        expectEnd("Resource temporarily unavailable", [&] {
            if (isJob) {
                job("/tmp/ends/job");
            } else {
                mDaemon->dumpTraceForPidListAsync({1}, "subject", "/tmp/ends/list");
            }
        });
    }
}

// Four bytes of a caller's: this libbinder has no other bound than memory.
TEST_F(EndsTest, ListLongerThanMemory) {
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
TEST(ServicemanagerTest, RestartEndsTheDaemonUntilTheNextRequest) {
    sp<IStallscope> daemon = stallscope();
    expectNoSanitizerReport();
    const size_t exits = exitsOfTheDaemon().size();
    EXPECT_EQ("", output(REPOSITORY "/host/guest/restart-servicemanager 2>&1"));
    EXPECT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
    EXPECT_NE(0, exitsOfTheDaemon().back());
    forgetOutputOfTheDaemon();
    EXPECT_THAT(output(STALLSCOPECTL " fds " + std::to_string(hang().app)),
                HasSubstr(std::to_string(countFds(hang().app)) + " open descriptors"));
}

}  // namespace
}  // namespace android::test
