// What can be wrong with the kernel's log and with /proc.

#include <sys/mount.h>

#include <filesystem>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

constexpr char kLog[] = "/tmp/other-log";
constexpr pid_t kCaller = 4000001;
const std::string kCall =
        "    outgoing transaction 1: 00000000abcdef01 from 4000001:4000001 to 4000002:4000003 "
        "code 7 flags 10 pri 0 r1 elapsed 5000ms";

using LogTest = FaultTest;

TEST_F(LogTest, EndInTheMiddleOfALine) {
    const Texts whole = {
            "outgoing transaction from 4000001(unknown):4000001(unknown) to "
            "4000002(unknown):4000003(unknown) elapsed: 5.000000 s code: 7"};
    const Texts zeros = {
            "outgoing transaction from 0(unknown):0(unknown) to "
            "0(unknown):0(unknown) elapsed: 0.000000 s code: 0"};
    const std::pair<std::string, Texts> logs[] = {
            {"proc 4000001\n" + kCall, whole},
            {"proc 4000001\n" + kCall.substr(0, kCall.size() - 2), zeros},
            {"proc 4000001\n" + kCall.substr(0, 20), {}},
            {"proc 4000001\n" + kCall + "\nproc 40000", whole},
            {"proc 400000", {}},
            {"", {}}};
    for (const auto& [text, lines] : logs) {
        writeFile(kLog, text);
        OtherKernelLog other(kLog);
        EXPECT_EQ(lines, getTransaction(mDaemon, kCaller).lines) << text;
    }
}

TEST_F(LogTest, HundredMegabytes) {
    output("{ yes 'proc 1000\n" + kCall + "' | head -c 100000000; echo; echo 'proc 4000001\n" +
           kCall + "'; } >" + kLog);
    OtherKernelLog other(kLog);
    EXPECT_EQ(1U, getTransaction(mDaemon, kCaller).lines.size());
    // Records are smaller than their lines, and nothing keeps them.
    if (!kIsSanitized) {
        EXPECT_GT(150'000, std::stoi(statusOf(mPid, "VmHWM")));
        EXPECT_GT(50'000, std::stoi(statusOf(mPid, "VmRSS")));
    }
    std::filesystem::remove(kLog);
}

// Its first byte can't be read: EIO.
TEST_F(LogTest, ReadErrorIsTheEndOfTheLog) {
    OtherKernelLog other("/proc/self/mem");
    EXPECT_EQ(Texts(), getTransaction(mDaemon, hang().app).lines);
    EXPECT_EQ(Texts(), takeErrors());
}

TEST(HidepidTest, HiddenProcessesReadAsGone) {
    hang();
    sp<IStallscope> daemon = startAsUser(1000);
    const std::string hardware = std::to_string(hang().hardware);
    ASSERT_EQ(0, mount(nullptr, "/proc", nullptr, MS_REMOUNT, "hidepid=2"));
    Report report = getTransaction(daemon, hang().app);
    EXPECT_EQ(Texts{hardware}, report.native);
    EXPECT_THAT(report.lines,
                testing::ElementsAre(testing::HasSubstr(" to " + hardware + "(unknown):")));
    int size = 0;
    EXPECT_TRUE(daemon->getFdSize(hang().app, &size).isOk());
    EXPECT_EQ(-1, size);
    EXPECT_FALSE(capture(daemon, hang().app, "/tmp/hidden"));
    EXPECT_EQ("", readFile("/tmp/hidden"));
    EXPECT_EQ(0, mount(nullptr, "/proc", nullptr, MS_REMOUNT, "hidepid=0"));
    EXPECT_THAT(getTransaction(daemon, hang().app).lines,
                testing::ElementsAre(testing::HasSubstr(" to " + hardware + "(fault.hardware):")));
    daemon = nullptr;
    killDaemon();
}

}  // namespace
}  // namespace android::test
