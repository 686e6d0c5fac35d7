#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "Target.h"

namespace {

constexpr DebuggerdDumpType kJava = kDebuggerdJavaBacktrace;

// Targets run in a folder of their own: a JVM and those who ask it leave files there.
class JavaCapture : public testing::Test {
  protected:
    ~JavaCapture() override { setenv("PATH", mPath.c_str(), 1); }

    std::string path(const std::string& name) const { return mFolder.path + ("/" + name); }

    // From now on this script is jattach.
    void setJattach(const std::string& script) const {
        ASSERT_TRUE(android::base::WriteStringToFile("#!/bin/sh\n" + script, path("jattach")));
        chmod(path("jattach").c_str(), 0700);
        setenv("PATH", (path(":") + mPath).c_str(), 1);
    }

    void lookLikeJvm(const char* library, bool takesSigquit) const {
        signal(SIGQUIT, takesSigquit ? [](int) {} : SIG_DFL);
        int fd = open(path(library).c_str(), O_RDONLY | O_CREAT, 0600);
        mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, fd, 0);
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
    for (int i = 0; i < 5000 && !dump.contains("State: BLOCKED (on object monitor)"); i++) {
        usleep(1000);
        dump = capture(jvm.pid(), kJava, 2);
        ASSERT_TRUE(jvm.runsOn()) << "killed after " << i;
    }
    EXPECT_TRUE(dump.contains("\nCmd line: java ") && dump.contains("\nFull thread dump "));
    EXPECT_TRUE(capture(jvm.pid()).contains("/libjvm.so ("));
}

TEST_F(JavaCapture, OnlyRunningJvmsThatTakeSigquitAreAsked) {
    setJattach("kill -QUIT $1; printf 'Connected to remote JVM\nJVM response code = 0\nthreads\n'");
    const std::tuple<const char*, bool, int, bool> cases[] = {{"libjvm.so", true, SIGCONT, true},
                                                              {"libjvm.so", false, SIGCONT, false},
                                                              {"libjvm.so", true, SIGSTOP, false},
                                                              {"libjava.so", true, SIGCONT, false}};
    for (const auto& [library, takesSigquit, signal, isAsked] : cases) {
        Target jvm([this, file = library, takes = takesSigquit] { lookLikeJvm(file, takes); });
        kill(jvm.pid(), signal);
        ASSERT_TRUE(jvm.reachesState(signal == SIGSTOP ? "T" : "S"));
        Capture dump = capture(jvm.pid(), kJava);
        std::string end = "'\n\nthreads\n\n----- end " + std::to_string(jvm.pid()) + " -----\n";
        EXPECT_EQ(isAsked, dump.contains(end)) << dump.text;
        EXPECT_NE(isAsked, dump.failedAtOnce());
        EXPECT_TRUE(eventually([&] { return jvm.status("ShdPnd") == "0000000000000000"; }));
        kill(jvm.pid(), SIGCONT);
        EXPECT_TRUE(jvm.runsOn());
    }
}

TEST_F(JavaCapture, JattachThatFailsOrHangsLeavesNothingBehind) {
    Target jvm([this] { lookLikeJvm("libjvm.so", true); });
    std::string pid = std::to_string(jvm.pid());
    // The file by which it asks would make the next SIGQUIT an attempt to attach.
    std::string request = path(".attach_pid" + pid);
    setJattach("touch " + request + "; printf 'Connected to remote JVM\nJVM response code = 1\n'");
    EXPECT_TRUE(capture(jvm.pid(), kJava).failedAtOnce());
    EXPECT_NE(0, access(request.c_str(), F_OK));

    setJattach("exec sleep 9999" + pid);
    std::string find = "pgrep -fx 'sleep 9999" + pid + "' >/dev/null";
    auto hangs = [&] { return system(find.c_str()) == 0; };
    EXPECT_TRUE(capture(jvm.pid(), kJava, 1).timedOutAfterASecond());
    EXPECT_TRUE(eventually([&] { return !hangs(); }));
    {
        Target caller = callerFor(jvm.pid(), kJava);
        EXPECT_TRUE(eventually(hangs));
    }
    EXPECT_TRUE(eventually([&] { return !hangs(); }));
}

}  // namespace
