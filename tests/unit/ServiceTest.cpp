#include "service/StallScopeService.h"

#include <linux/capability.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>

#include "tests/support/FakeDevice.h"
#include "tests/support/MethodCall.h"

namespace android::test {

class Service : public FakeDevice {
  protected:
    const sp<StallScopeService> service = new StallScopeService;
};

TEST_F(Service, ReturnsBeforeTheFirstCaptureOrBehindTheLast) {
    addProcess(41, "-1000");
    std::atomic<bool> hasReturned = false;
    bool isAsynchronous = true;
    scriptCaptures([&](int pid, DebuggerdDumpType type, int fd) {
        if (isAsynchronous) {
            EXPECT_TRUE(eventually([&] { return hasReturned.load(); }, 2));
        }
        EXPECT_EQ(hasReturned, isAsynchronous);
        return writeCapture(pid, type, fd);
    });
    const std::pair<Texts, bool> rows[] = {
            {{"dumpTraceForPidListAsync", "41", "Subject", "a/file"}, true},
            {{"dumpTraceWithBinderInfo", "41", "false", "p41", "a/file"}, true},
            {{"dumpTraceForPidWithTimeout", "41", "5", "a/file"}, false},
            {{"dumpTraceForPidList", "41", "Subject", "a/file"}, false}};
    std::filesystem::create_directory("a");
    for (const auto& [call, isAsynchronousCall] : rows) {
        isAsynchronous = isAsynchronousCall;
        hasReturned = false;
        takeEvents();
        // The threads must not depend on the caller's arguments.
        callMethod(*service, call);
        hasReturned = true;
        awaitWorkers();
        EXPECT_EQ(takeEvents("c").size(), 1u) << call[0];
    }
}

TEST_F(Service, EndsTheDaemonWhenNoThreadCanBeStarted) {
    for (const Texts& call : {Texts{"dumpTraceForPidListAsync", "1", "subject", "list"},
                              {"dumpTraceWithBinderInfo", "1", "false", "", mFolder / "file"}}) {
        const auto ask = [&] {
            pthread_attr_t huge;
            pthread_attr_init(&huge);
            pthread_attr_setstacksize(&huge, size_t{1} << 60);
            pthread_setattr_default_np(&huge);
            callMethod(*service, call);
        };
        EXPECT_DEATH(runAsDaemon(ask), "Resource temporarily unavailable") << call[0];
    }
}

TEST_F(Service, EndsTheDaemonWhenAFolderIsClosedToIt) {
    const std::filesystem::path closed = mFolder / "closed";
    std::filesystem::create_directories(closed / "folder");
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    const auto ask = [&] {
        __user_cap_header_struct version = {_LINUX_CAPABILITY_VERSION_3, 0};
        const __user_cap_data_struct none[2] = {};  // root's own would open any folder
        syscall(SYS_capset, &version, none);
        callMethod(*service, {"dumpTraceWithBinderInfo", "1", "false", "", closed / "folder/file"});
    };
    EXPECT_DEATH(runAsDaemon(ask), "Permission denied");
    std::filesystem::permissions(closed, std::filesystem::perms::owner_all);
}

TEST_F(Service, ServesConcurrentCalls) {
    addProcess(10, "0");
    addProcess(20, "-1000");
    writeFile(kBinderLogPath, "proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    std::vector<std::future<Answer>> calls(8);
    for (std::future<Answer>& call : calls) {
        call = std::async(std::launch::async, [this] {
            return callMethod(*service, {"getTransaction", "10"});
        });
    }
    for (std::future<Answer>& call : calls) {
        EXPECT_EQ(call.get()["native"], Texts{"20"});
    }
}

}  // namespace android::test
