// Where a capture is written, and that a caller survives what is wrong with it.

#include <sys/resource.h>

#include <future>

#include "tests/debuggerd/Target.h"

namespace android::test {
namespace {

constexpr int kWriteFailed = static_cast<int>(CaptureResult::kWriteFailed);

class CaptureOutput : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(mTarget.runsOn()); }

    int dump(int fd, int seconds = 10) {
        return dump_backtrace_to_file_timeout(mTarget.pid(), kNative, seconds, fd);
    }

    TemporaryFile mFile;
    int mPipe[2];
    Target mTarget{[] { waitWithThreads(200); }};
};

TEST_F(CaptureOutput, AnyDescriptorStaysOpenAndAppends) {
    ASSERT_EQ(6, write(mFile.fd, "before", 6));
    for (int number : {0, 1, 3}) {
        auto dumpToNumber = [&] {
            signal(SIGCHLD, SIG_IGN);  // as a caller may
            dup3(mFile.fd, number, O_CLOEXEC);
            const int result = dump(number);
            _exit(result + (fcntl(number, F_GETFD) == FD_CLOEXEC ? 0 : 100));
        };
        EXPECT_EXIT(dumpToNumber(), testing::ExitedWithCode(0), "") << number;
    }
    EXPECT_EQ(5, write(mFile.fd, "after", 5));
    const std::string text = readFile(mFile.path);
    EXPECT_EQ(0U, text.find("before\n\n----- pid "));
    EXPECT_EQ(2U, count(text, "-----\n\n\n----- pid "));
    EXPECT_EQ(text.size() - 11, text.rfind("-----\nafter"));
}

TEST_F(CaptureOutput, FailedWritesFailTheCaptureAndNotTheCaller) {
    ASSERT_EQ(0, pipe(mPipe));
    close(mPipe[0]);
    for (int fd : {open("/dev/full", O_WRONLY), open(mFile.path, O_RDONLY), mPipe[1], -1}) {
        EXPECT_EQ(kWriteFailed, dump(fd)) << fd;
    }
    // The only write is cut short, without a next one to fail.
    Target small([] { waitWithThreads(1); });
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {100, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(kWriteFailed, dump_backtrace_to_file_timeout(small.pid(), kNative, 10, mFile.fd));
    setrlimit(RLIMIT_FSIZE, &before);
}

TEST_F(CaptureOutput, FullPipeCostsNoMoreThanTheTimeOutAndLeavesNobodyBehind) {
    for (int flags : {0, O_NONBLOCK}) {
        ASSERT_EQ(0, pipe2(mPipe, flags));
        fcntl(mPipe[1], F_SETPIPE_SZ, 4096);
        EXPECT_NE(0, dump(mPipe[1], 1));
        const std::string find = "pgrep -P " + std::to_string(getpid()) + " debuggerd_capt";
        EXPECT_TRUE(eventually([&] { return outputOf(find).empty(); }, 5));
    }
    // One that is read at last gets all of it.
    close(mPipe[0]);
    ASSERT_EQ(0, pipe2(mPipe, O_NONBLOCK));
    std::future<std::string> reader = std::async(std::launch::async, [fd = mPipe[0]] {
        usleep(100'000);
        return readFile("/proc/self/fd/" + std::to_string(fd));
    });
    EXPECT_EQ(0, dump(mPipe[1]));
    close(mPipe[1]);
    EXPECT_EQ(200U, count(reader.get(), kWaitingFrame));
}

}  // namespace
}  // namespace android::test
