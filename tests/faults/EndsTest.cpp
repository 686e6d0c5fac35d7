// What ends the daemon, and that the platform then starts it anew.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/FaultSupport.h"
#include "tests/guest/KernelCalls.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;

constexpr int kAborted = 128 + SIGABRT;
constexpr char kPlace[] = "/tmp/ends";

void job(const sp<IStallscope>& daemon, const std::string& file) {
    daemon->dumpTraceWithBinderInfo(1, false, {}, String16(file.c_str()));
}

void parse(const sp<IStallscope>& daemon) {
    Texts lines, java, native;
    daemon->getThreadFullInfo(1, &lines, &java, &native);
}

void parse(const sp<IStallscope>& daemon, const std::string& log) {
    writeFile("/tmp/ends-log", log);
    OtherKernelLog other("/tmp/ends-log");
    parse(daemon);
    EXPECT_TRUE(eventually([] { return daemonPid() == 0; }));
}

std::string transaction(const std::string& from, const std::string& code, const std::string& ms) {
    return "proc 1\n  outgoing transaction 5: 0 from " + from + " to 1:1 code " + code +
           " flags 10 pri 0 r1 elapsed " + ms + "ms\n";
}

struct End {
    const char* name;
    std::function<void(const sp<IStallscope>&)> cause;
    const char* reason;  // in what the daemon writes at its end
};

void expectEnd(const End& end) {
    SCOPED_TRACE(end.name);
    sp<IStallscope> daemon = stallscope();
    const pid_t former = daemonPid();
    const size_t exits = exitsOfTheDaemon().size();
    const size_t written = outputOfTheDaemon().size();
    end.cause(daemon);
    ASSERT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
    EXPECT_EQ(kAborted, exitsOfTheDaemon().back());
    EXPECT_THAT(outputOfTheDaemon().substr(written), ::testing::HasSubstr(end.reason));
    daemon = stallscope();
    EXPECT_NE(former, daemonPid());
    expectEverythingWorks(daemon);
}

TEST(EndsTest, NumbersThatDoNotFit) {
    hang();
    const std::pair<const char*, std::string> logs[] = {
            {"pid of a section", "proc 2147483648\n"},
            {"pid", transaction("2147483648:1", "1", "1")},
            {"thread id", transaction("1:2147483648", "1", "1")},
            {"decimal code", transaction("1:1", "2147483648", "1")},
            {"hexadecimal code", transaction("1:1", "f0000000", "1")},
            {"word that is no code", transaction("1:1", "xyz", "1")},
            {"milliseconds", transaction("1:1", "1", "9223372036854775808")}};
    for (const auto& [name, log] : logs) {
        const std::string& text = log;
        expectEnd({name, [&](const sp<IStallscope>& daemon) { parse(daemon, text); }, "sto"});
    }
}

// Whoever makes such a call ends the daemon again and again, even when it has ended itself: the
// call stays in the log for as long as its receiver works on it.
TEST(EndsTest, HangingCallWithALargeCode) {
    hang();
    pid_t receiver = stageProcess("--serve fault.receiver");
    pid_t caller = stageProcess("--main call:fault.receiver --code ffffffff");
    EXPECT_TRUE(eventually(
            [] { return readFile(kKernelLog).find(" code ffffffff ") != std::string::npos; }));
    for (bool isCallerThere : {true, false}) {
        sp<IStallscope> daemon = stallscope();
        const size_t exits = exitsOfTheDaemon().size();
        parse(daemon);
        ASSERT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
        EXPECT_EQ(kAborted, exitsOfTheDaemon().back());
        if (isCallerThere) {
            killAndReap(caller);
        }
    }
    killAndReap(receiver);
    expectEverythingWorks(stallscope());
}

TEST(EndsTest, FoldersThatCannotBeExaminedOrPruned) {
    hang();
    fs::create_directories(kPlace);
    const std::string place = kPlace;
    writeFile(place + "/regular", "");
    EXPECT_EQ(0, symlink("loop", (place + "/loop").c_str()));
    fs::create_directories(place + "/many");
    for (int i = 0; i < 6; ++i) {
        writeFile(place + "/many/" + std::to_string(i), "");
        usleep(10000);
    }
    const std::string oldest = place + "/many/0";
    EXPECT_EQ(0, mount(oldest.c_str(), oldest.c_str(), nullptr, MS_BIND, nullptr));
    const std::tuple<const char*, std::string, const char*> paths[] = {
            {"5,000 characters", "/tmp/" + std::string(4990, 'x') + "/file", "File name too long"},
            {"loop of links", place + "/loop/file", "Too many levels of symbolic links"},
            {"regular file as folder", place + "/regular/file", "Not a directory"},
            {"file that can't be removed", place + "/many/file", "Device or resource busy"}};
    for (const auto& [name, file, reason] : paths) {
        const std::string& path = file;
        expectEnd({name, [&](const sp<IStallscope>& daemon) { job(daemon, path); }, reason});
    }
    EXPECT_EQ(0, umount(oldest.c_str()));
}

TEST(EndsTest, FolderRemovedDuringAJob) {
    pid_t slow = stageProcess("--cmdline fault.slow --adj -1000 --main uninterruptible");
    EXPECT_TRUE(eventually([&] { return isNative(slow) && statusOf(slow, "State")[0] == 'D'; }));
    expectEnd({"removed",
               [](const sp<IStallscope>& daemon) {
                   daemon->dumpTraceWithBinderInfo(hang().app, true, {String16("fault.slow")},
                                                   String16("/tmp/ends/removed/file"));
                   // Again when the job has just written into it.
                   EXPECT_TRUE(eventually([] {
                       std::error_code notEmpty;
                       fs::remove_all("/tmp/ends/removed", notEmpty);
                       return !notEmpty;
                   }));
               },
               "No such file or directory"});
    kill(slow, SIGKILL);
}

// Each removes what the others are about to look at.
TEST(EndsTest, JobsThatPruneOneFolderAtOnce) {
    hang();
    fs::create_directories("/tmp/ends/shared");
    for (int i = 0; i < 2000; ++i) {
        writeFile("/tmp/ends/shared/" + std::to_string(i), "");
    }
    expectEnd({"shared",
               [](const sp<IStallscope>& daemon) {
                   for (int i = 0; i < 8; ++i) {
                       job(daemon, "/tmp/ends/shared/file");
                       usleep(10000);
                   }
               },
               "terminate called"});
}

TEST(EndsTest, ThreadsThatCannotBeStarted) {
    const std::pair<const char*, std::function<void(const sp<IStallscope>&)>> calls[] = {
            {"list",
             [](const sp<IStallscope>& daemon) {
                 refuseNewThreads(daemonPid());
                 daemon->dumpTraceForPidListAsync({1}, "subject", "/tmp/ends/list");
             }},
            {"job", [](const sp<IStallscope>& daemon) {
                 refuseNewThreads(daemonPid());
                 job(daemon, "/tmp/ends/job");
             }}};
    for (const auto& [name, call] : calls) {
        expectEnd({name, call, "Resource temporarily unavailable"});
    }
}

TEST(EndsTest, FolderClosedToTheDaemonsUser) {
    sp<IStallscope> daemon = startAsUser(1000);
    fs::create_directories("/tmp/ends/closed/folder");
    fs::permissions("/tmp/ends/closed", fs::perms::owner_all);
    expectEnd({"closed",
               [&](const sp<IStallscope>&) { job(daemon, "/tmp/ends/closed/folder/file"); },
               "Permission denied"});
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
                ::testing::HasSubstr(std::to_string(countFds(hang().app)) + " open descriptors"));
}

}  // namespace
}  // namespace android::test
