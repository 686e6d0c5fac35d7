#include <android-base/file.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "Target.h"

namespace {

Target startJvm(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = {"java"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(SLEEPER_SOURCE);
    return Target::exec(arguments);
}

class JavaCapture : public testing::Test {
  protected:
    void SetUp() override {
        if (system("command -v java jattach >/dev/null") != 0) {
            GTEST_SKIP() << "install a JDK and jattach for this test";
        }
    }
};

void expectRefusalAtOnce(const Target& target) {
    Capture refused = capture(target.pid(), kDebuggerdJavaBacktrace);
    EXPECT_NE(0, refused.result);
    EXPECT_EQ("", refused.text);
    EXPECT_GT(2, refused.seconds);
    EXPECT_TRUE(std::string("RS").find(target.waitForState("RS")) != std::string::npos);
}

TEST_F(JavaCapture, JvmPrintsItsThreadsAndRunsOn) {
    Target jvm = startJvm();
    for (int round = 0; round < 2; round++) {
        Capture dump = capture(jvm.pid(), kDebuggerdJavaBacktrace);
        std::string pid = std::to_string(jvm.pid());
        EXPECT_EQ(0, dump.result);
        EXPECT_EQ(0u, dump.text.find("\n\n----- pid " + pid + " at ")) << dump.text;
        EXPECT_TRUE(dump.contains("\nCmd line: java "));
        EXPECT_TRUE(dump.contains("\nFull thread dump "));
        EXPECT_TRUE(dump.contains("\"blocked-by-main\""));
        EXPECT_TRUE(dump.contains("State: BLOCKED (on object monitor)"));
        EXPECT_EQ(1, dump.count("\n----- end " + pid + " -----\n"));
        EXPECT_FALSE(dump.contains("JVM response code"));
        EXPECT_TRUE(jvm.runsOn());
    }
    Capture native = capture(jvm.pid());
    EXPECT_EQ(0, native.result);
    EXPECT_TRUE(native.contains("/libjvm.so (")) << native.text;
}

TEST_F(JavaCapture, StoppedJvmIsLeftAlone) {
    Target jvm = startJvm();
    kill(jvm.pid(), SIGSTOP);
    EXPECT_EQ('T', jvm.waitForState("T"));
    Capture refused = capture(jvm.pid(), kDebuggerdJavaBacktrace);
    EXPECT_NE(0, refused.result);
    EXPECT_GT(2, refused.seconds);
    EXPECT_EQ("0000000000000000", jvm.status("ShdPnd"));
    kill(jvm.pid(), SIGCONT);
    EXPECT_EQ(0, capture(jvm.pid(), kDebuggerdJavaBacktrace).result);
}

// SIGQUIT would end it.
TEST_F(JavaCapture, JvmWithoutSignalHandlersSurvives) {
    Target jvm = startJvm({"-Xrs"});
    expectRefusalAtOnce(jvm);
}

TEST_F(JavaCapture, JvmThatIsStillStartingSurvives) {
    for (int delay = 0; delay < 20; delay++) {
        pid_t pid = fork();
        if (pid == 0) {
            close(STDOUT_FILENO);
            execlp("java", "java", SLEEPER_SOURCE, nullptr);
        }
        Target jvm(pid);
        usleep(2000 * delay);
        capture(jvm.pid(), kDebuggerdJavaBacktrace, 5);
        EXPECT_TRUE(jvm.runsOn());
        EXPECT_EQ(0, waitpid(jvm.pid(), nullptr, WNOHANG)) << "after " << delay;
    }
}

// A JVM that gets SIGQUIT but can't act upon it, so that jattach waits.
class SilentJvm {
  public:
    SilentJvm() {
        mDispatcher = mJvm.pid();
        while (commOf(mDispatcher) != "Signal Dispatch\n" && mDispatcher < mJvm.pid() + 1000) {
            mDispatcher++;
        }
        EXPECT_EQ(0, ptrace(PTRACE_SEIZE, mDispatcher, nullptr, nullptr));
        EXPECT_EQ(0, ptrace(PTRACE_INTERRUPT, mDispatcher, nullptr, nullptr));
    }

    void letGo() {
        EXPECT_EQ(mDispatcher, waitpid(mDispatcher, nullptr, __WALL));
        EXPECT_EQ(0, ptrace(PTRACE_DETACH, mDispatcher, nullptr, nullptr));
    }
    const Target& target() const { return mJvm; }

  private:
    static std::string commOf(pid_t tid) {
        std::string comm;
        android::base::ReadFileToString("/proc/" + std::to_string(tid) + "/comm", &comm);
        return comm;
    }

    Target mJvm = startJvm();
    pid_t mDispatcher;
};

TEST_F(JavaCapture, JvmThatDoesNotAnswerCostsNoMoreThanTheTimeOut) {
    SilentJvm jvm;
    Capture late = capture(jvm.target().pid(), kDebuggerdJavaBacktrace, 1);
    EXPECT_NE(0, late.result);
    EXPECT_LT(0.8, late.seconds);
    EXPECT_GT(2, late.seconds);

    // What jattach uses to ask would make the next SIGQUIT an attempt to attach.
    std::string pid = std::to_string(jvm.target().pid());
    EXPECT_NE(0, access(("/proc/" + pid + "/cwd/.attach_pid" + pid).c_str(), F_OK));
    EXPECT_NE(0, access(("/tmp/.attach_pid" + pid).c_str(), F_OK));

    jvm.letGo();
    EXPECT_TRUE(jvm.target().runsOn());
    EXPECT_EQ(0, capture(jvm.target().pid(), kDebuggerdJavaBacktrace).result);
}

bool jattachWorksOn(pid_t pid) {
    using namespace std::string_literals;
    std::string wanted = "jattach\0"s + std::to_string(pid) + "\0threaddump\0"s;
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir("/proc"), closedir);
    while (dirent* entry = dir ? readdir(dir.get()) : nullptr) {
        std::string arguments;
        android::base::ReadFileToString("/proc/"s + entry->d_name + "/cmdline", &arguments);
        if (arguments == wanted) {
            return true;
        }
    }
    return false;
}

TEST_F(JavaCapture, JattachEndsWithTheCaller) {
    SilentJvm jvm;
    pid_t pid = jvm.target().pid();
    pid_t caller = fork();
    if (caller == 0) {
        dump_backtrace_to_file_timeout(pid, kDebuggerdJavaBacktrace, 30, STDERR_FILENO);
        _exit(0);
    }
    for (int wait = 0; !jattachWorksOn(pid) && wait < 100; wait++) {
        usleep(10'000);
    }
    EXPECT_TRUE(jattachWorksOn(pid));
    kill(caller, SIGKILL);
    waitpid(caller, nullptr, 0);
    for (int wait = 0; jattachWorksOn(pid) && wait < 100; wait++) {
        usleep(10'000);
    }
    EXPECT_FALSE(jattachWorksOn(pid));
    jvm.letGo();
}

TEST(JavaCaptureOfOthers, NativeProcessesSurvive) {
    Target plain = Target::run([] {
        Target::ready();
        waitForeverInC();
    });
    expectRefusalAtOnce(plain);
    Target withHandler = Target::run([] {
        signal(SIGQUIT, [](int) { _exit(1); });
        Target::ready();
        waitForeverInC();
    });
    expectRefusalAtOnce(withHandler);
}

}  // namespace
