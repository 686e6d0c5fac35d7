#ifndef STALLSCOPE_TESTS_GUEST_DUMPSFIXTURE_H
#define STALLSCOPE_TESTS_GUEST_DUMPSFIXTURE_H

#include <filesystem>

#include "tests/guest/KernelCalls.h"

namespace android::test {

// A daemon, and a folder for the files that it writes.
class DumpsTest : public testing::Test {
  protected:
    DumpsTest() {
        std::filesystem::create_directories(mFolder);
        takeDaemonLog();
    }

    bool capture(pid_t pid, int timeoutSecs, const std::string& file) {
        bool result = false;
        EXPECT_TRUE(mDaemon->dumpTraceForPidWithTimeout(pid, timeoutSecs, file, &result).isOk());
        return result;
    }

    void dump(pid_t pid, bool withBinderInfo, const Texts& names, const std::string& file) {
        std::vector<String16> names16;
        for (const std::string& name : names) {
            names16.emplace_back(name.c_str());
        }
        const String16 file16(file.c_str());
        EXPECT_TRUE(mDaemon->dumpTraceWithBinderInfo(pid, withBinderInfo, names16, file16).isOk());
    }

    sp<IStallscope> mDaemon = stallscope();
    // One for each test: a job that finds its folder gone when it prunes ends the daemon.
    const std::string mFolder = std::string("/tmp/dumps/") +
                                testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string mFile = mFolder + "/file";
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_DUMPSFIXTURE_H
