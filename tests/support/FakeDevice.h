#ifndef STALLSCOPE_TESTS_FAKEDEVICE_H
#define STALLSCOPE_TESTS_FAKEDEVICE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "binderlog/BinderLogParser.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

// Fixture: a device whose processes, binder log and files are what the test declares. Starts each
// test in an empty folder of its own, with no process and no log; ends it when no thread works in
// the background any more, and then nothing may be open that was not before.
class FakeDevice : public testing::Test {
  protected:
    FakeDevice();
    ~FakeDevice() override;

    // Process 41 is "p41" unless it is named, with a thread "t41"; `adj` is oom_score_adj's text.
    static void addProcess(int pid, const std::string& adj, const std::string& cmdline = "");
    // Makes the link's folder.
    static void link(const std::string& path, const std::string& target);
    // "(no such file)" instead of nothing.
    static std::string read(const std::string& path);
    static Texts namesIn(const std::string& folder);

    static void awaitWorkers() { EXPECT_TRUE(eventually(isAllDone)); }

    const std::filesystem::path mFolder;
};

// A line of the binder log in the new format, such as outgoing(10, 11, 20, 21, 2500).
std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_FAKEDEVICE_H
