#include <android-base/file.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Target.h"

namespace {

void target200() {
    startWaitingThreads(199);
    Target::ready();
    waitForeverInC();
}

int dump(const Target& target, int fd, int seconds = 10) {
    return dump_backtrace_to_file_timeout(target.pid(), kDebuggerdNativeBacktrace, seconds, fd);
}

class OutputTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(mTarget.runsOn()); }

    Target mTarget = Target::run(target200);
};

TEST_F(OutputTest, DescriptorStaysOpenAndAppends) {
    TemporaryFile file;
    ASSERT_TRUE(android::base::WriteStringToFile("before", file.path));
    int fd = open(file.path, O_WRONLY | O_APPEND | O_CLOEXEC);
    EXPECT_EQ(0, dump(mTarget, fd));
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
    EXPECT_EQ(5, write(fd, "after", 5));
    EXPECT_EQ(0, close(fd));

    std::string text;
    ASSERT_TRUE(android::base::ReadFileToString(file.path, &text));
    EXPECT_EQ(0u, text.find("before\n\n----- pid "));
    EXPECT_EQ(text.size() - 11, text.rfind("-----\nafter"));
}

TEST_F(OutputTest, StandardDescriptorsWorkToo) {
    for (int number : {0, 1, 3}) {
        TemporaryFile file;
        int saved = dup(number);
        dup2(file.fd, number);
        EXPECT_EQ(0, dump(mTarget, number));
        dup2(saved, number);
        close(saved);
        EXPECT_LT(10'000, lseek(file.fd, 0, SEEK_END)) << number;
    }
}

TEST_F(OutputTest, FailedWritesFailTheCapture) {
    TemporaryFile file;
    struct {
        const char* name;
        int fd;
    } cases[] = {{"no space left", open("/dev/full", O_WRONLY)},
                 {"read-only", open(file.path, O_RDONLY)},
                 {"closed", -1}};
    for (const auto& [name, fd] : cases) {
        EXPECT_NE(0, dump(mTarget, fd)) << name;
        close(fd);
    }
}

TEST_F(OutputTest, FileSizeLimitFailsTheCaptureAndNotTheCaller) {
    TemporaryFile file;
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = {1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_NE(0, dump(mTarget, file.fd));
    setrlimit(RLIMIT_FSIZE, &before);
}

TEST_F(OutputTest, PipeWithoutAReaderFailsTheCaptureAndNotTheCaller) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    EXPECT_NE(0, dump(mTarget, ends[1]));
    close(ends[1]);
}

TEST_F(OutputTest, FullPipeCostsNoMoreThanTheTimeOut) {
    for (int flags : {0, O_NONBLOCK}) {
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, flags));
        fcntl(ends[1], F_SETPIPE_SZ, 4096);
        int result = 0;
        double seconds = secondsOf([&] { result = dump(mTarget, ends[1], 1); });
        EXPECT_NE(0, result);
        EXPECT_GT(2, seconds);
        EXPECT_TRUE(mTarget.runsOn());
        char text[100] = {};
        EXPECT_EQ(static_cast<ssize_t>(sizeof(text)), read(ends[0], text, sizeof(text)));
        EXPECT_EQ(0, strncmp("\n\n----- pid ", text, 12));
        close(ends[0]);
        close(ends[1]);
    }
}

TEST_F(OutputTest, CallerMayIgnoreItsChildren) {
    auto before = signal(SIGCHLD, SIG_IGN);
    Capture dump = capture(mTarget.pid());
    signal(SIGCHLD, before);
    EXPECT_EQ(0, dump.result);
}

}  // namespace
