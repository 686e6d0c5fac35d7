#include <errno.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "tests/debuggerd/Target.h"

namespace android::test {
namespace {

constexpr DebuggerdDumpType kJava = kDebuggerdJavaBacktrace;
constexpr char kNoAttach[] = "-XX:+DisableAttachMechanism";

// Targets run in a folder of their own: a JVM and those who ask it leave files there.
class JavaCapture : public testing::Test {
  protected:
    ~JavaCapture() override { setenv("PATH", mPath.c_str(), 1); }

    std::string path(const std::string& name) const { return mFolder.path + ("/" + name); }

    // From now on this script is jattach.
    void setJattach(const std::string& script) const {
        writeFile(path("jattach"), "#!/bin/sh\n" + script);
        chmod(path("jattach").c_str(), 0700);
        setenv("PATH", (path(":") + mPath).c_str(), 1);
    }

    void lookLikeJvm(const char* library, bool takesSigquit, const char* cmdline = "") const {
        signal(SIGQUIT, takesSigquit ? [](int) {} : SIG_DFL);
        int fd = open(path(library).c_str(), O_RDONLY | O_CREAT, 0600);
        mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, fd, 0);
        strcpy(program_invocation_name, cmdline);  // where the first argument is
        if (chdir(mFolder.path) == 0) {
            waitWithThreads(1);
        }
    }

    TemporaryDir mFolder;
    const std::string mPath = getenv("PATH");
};

TEST_F(JavaCapture, JvmSurvivesItsStartAndPrintsItsThreads) {
    if (system("command -v java jattach >/dev/null") != 0) {
        GTEST_SKIP() << "install a JDK and jattach for this test";
    }
    Target jvm([this] {
        Target::ready();
        close(STDOUT_FILENO);
        _exit(chdir(mFolder.path) || execlp("java", "java", SLEEPER_SOURCE, nullptr));
    });
    Capture dump;
    for (int i = 0; i < 5000 && count(dump.text, "State: BLOCKED (on object monitor)") == 0; i++) {
        usleep(1000);
        dump = capture(jvm.pid(), kJava, 2);
        ASSERT_TRUE(jvm.runsOn()) << "killed after " << i;
    }
    EXPECT_EQ(2U, count(dump.text, "\nCmd line: java ") + count(dump.text, "\nFull thread dump "));
    EXPECT_LT(0U, count(capture(jvm.pid()).text, "/libjvm.so ("));
}

TEST_F(JavaCapture, OnlyRunningJvmsThatTakeSigquitAreAsked) {
    setJattach(
            "kill -QUIT $1; printf 'Connected to remote '; sleep 0.1; "
            "printf 'JVM\nJVM response code = 0\nthreads\n'");
    const std::tuple<const char*, bool, const char*, int, bool> cases[] = {
            {"libjvm.so", true, "", SIGCONT, true},
            {"libjvm.so", false, "", SIGCONT, false},
            {"libjvm.so", true, "", SIGSTOP, false},
            {"libjvm.so", true, kNoAttach, SIGCONT, false},
            {"libjava.so", true, "", SIGCONT, false}};
    for (const auto& [library, takesSigquit, cmdline, signal, isAsked] : cases) {
        Target jvm([this, file = library, takes = takesSigquit, name = cmdline] {
            lookLikeJvm(file, takes, name);
        });
        kill(jvm.pid(), signal);
        ASSERT_TRUE(jvm.reachesState(signal == SIGSTOP ? 'T' : 'S'));
        const Capture dump = capture(jvm.pid(), kJava);
        const std::string end =
                "'\n\nthreads\n\n----- end " + std::to_string(jvm.pid()) + " -----\n";
        EXPECT_EQ(isAsked, count(dump.text, end) == 1) << dump.text;
        EXPECT_NE(isAsked, dump.failedAtOnce(CaptureResult::kNotJvm));
        // That a process is no JVM is no fault.
        EXPECT_EQ(isAsked ? "" : "I it is not a running HotSpot JVM that accepts SIGQUIT.",
                  dump.log);
        EXPECT_TRUE(
                eventually([&] { return statusOf(jvm.pid(), "ShdPnd") == "0000000000000000"; }));
        kill(jvm.pid(), SIGCONT);
        EXPECT_TRUE(jvm.runsOn());
    }
}

TEST_F(JavaCapture, JattachThatFailsOrHangsLeavesNothingBehind) {
    Target jvm([this] { lookLikeJvm("libjvm.so", true); });
    const std::string pid = std::to_string(jvm.pid());
    // The file by which it asks would make the next SIGQUIT an attempt to attach.
    const std::string requests[] = {path(".attach_pid" + pid), "/tmp/.attach_pid" + pid};
    const std::string request = "touch " + requests[0] + " " + requests[1] + "; ";
    auto isAsking = [&] {
        return !access(requests[0].c_str(), F_OK) || !access(requests[1].c_str(), F_OK);
    };
    setJattach(request + "printf 'Connected to remote JVM\nJVM response code = 1\n'");
    EXPECT_TRUE(capture(jvm.pid(), kJava).failedAtOnce(CaptureResult::kJvmFailed));
    EXPECT_FALSE(isAsking());

    setJattach(request + "exec sleep 9999" + pid);
    auto hangs = [&] { return !outputOf("pgrep -fx 'sleep 9999" + pid + "'").empty(); };
    EXPECT_TRUE(capture(jvm.pid(), kJava, 1).timedOutAfterASecond());
    EXPECT_TRUE(eventually([&] { return !hangs(); }));
    EXPECT_FALSE(isAsking());
    // When its caller dies it is killed or, once it has taken on another user, ends by itself,
    // whatever signals the caller keeps off.
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    sigprocmask(SIG_BLOCK, &alarms, nullptr);
    signal(SIGALRM, SIG_IGN);
    for (const auto& [setter, seconds] : {std::pair("", 30), {"setpriv --pdeathsig clear ", 1}}) {
        setJattach("exec " + std::string(setter) + "sleep 9999" + pid);
        {
            Target caller = callerFor(jvm.pid(), kJava, seconds);
            EXPECT_TRUE(eventually(hangs));
        }
        EXPECT_TRUE(eventually([&] { return !hangs(); }));
    }
    sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
    signal(SIGALRM, SIG_DFL);
}

}  // namespace
}  // namespace android::test
