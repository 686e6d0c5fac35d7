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

struct Answer {
    Texts lines, java, native;
    bool isBlocked = false;
};

Answer getTransaction(const sp<IStallscope>& daemon, pid_t pid) {
    Answer answer;
    Texts others[5];
    EXPECT_TRUE(daemon->getTransaction(pid, &answer.lines, &answer.java, &answer.native, &others[0],
                                       &others[1], &others[2], &others[3], &others[4],
                                       &answer.isBlocked)
                        .isOk());
    return answer;
}

TEST(LogTest, EndInTheMiddleOfALine) {
    sp<IStallscope> daemon = stallscope();
    writeFile(kLog, "");
    OtherKernelLog other(kLog);
    const Texts whole = {
            "outgoing transaction from 4000001(unknown):4000001(unknown) to "
            "4000002(unknown):4000003(unknown) elapsed: 5.000000 s code: 7"};
    const Texts zeros = {
            "outgoing transaction from 0(unknown):0(unknown) to "
            "0(unknown):0(unknown) elapsed: 0.000000 s code: 0"};
    const std::pair<std::string, Texts> logs[] = {
            {"proc 4000001\n" + kCall, whole},
            {"proc 4000001\n" + kCall.substr(0, kCall.size() - 2), zeros},
            {"proc 4000001\n" + kCall.substr(0, kCall.find("to 4")), zeros},
            {"proc 4000001\n" + kCall.substr(0, 20), {}},
            {"proc 4000001\n" + kCall + "\nproc 40000", whole},
            {"proc 400000", {}},
            {"", {}}};
    for (const auto& [text, lines] : logs) {
        writeFile(kLog, text);
        EXPECT_EQ(lines, getTransaction(daemon, kCaller).lines) << text;
    }
    EXPECT_NE(0, daemonPid());
}

TEST(LogTest, HundredMegabytes) {
    sp<IStallscope> daemon = stallscope();
    std::string section;
    for (int i = 0; section.size() < 1000000; ++i) {
        section += "proc " + std::to_string(1000 + i % 500) + "\n" + kCall + "\n" + kCall + "\n";
    }
    std::string log;
    for (int i = 0; i < 100; ++i) {
        log += section;
    }
    writeFile(kLog, log + "proc 4000001\n" + kCall + "\n");
    log.clear();
    log.shrink_to_fit();
    OtherKernelLog other(kLog);
    const pid_t pid = daemonPid();
    EXPECT_EQ(1U, getTransaction(daemon, kCaller).lines.size());
    EXPECT_EQ(pid, daemonPid());
    // Records are smaller than their lines, and nothing keeps them.
    if (!kIsSanitized) {
        EXPECT_GT(150'000, std::stoi(statusOf(pid, "VmHWM")));
        EXPECT_GT(50'000, std::stoi(statusOf(pid, "VmRSS")));
    }
    std::filesystem::remove(kLog);
}

// Its first byte can't be read: EIO.
TEST(LogTest, ReadErrorIsTheEndOfTheLog) {
    sp<IStallscope> daemon = stallscope();
    takeErrors();
    OtherKernelLog other("/proc/self/mem");
    EXPECT_EQ(Texts(), getTransaction(daemon, hang().app).lines);
    EXPECT_EQ(Texts(), takeErrors());
}

TEST(LogTest, HiddenProcessesReadAsGone) {
    hang();
    sp<IStallscope> daemon = startAsUser(1000);
    const std::string hardware = std::to_string(hang().hardware);
    ASSERT_EQ(0, mount(nullptr, "/proc", nullptr, MS_REMOUNT, "hidepid=2"));
    Answer answer = getTransaction(daemon, hang().app);
    EXPECT_EQ(Texts{hardware}, answer.native);
    ASSERT_EQ(1U, answer.lines.size());
    EXPECT_NE(std::string::npos, answer.lines[0].find(" to " + hardware + "(unknown):"));

    int size = 0;
    EXPECT_TRUE(daemon->getFdSize(hang().app, &size).isOk());
    EXPECT_EQ(-1, size);
    bool isCaptured = true;
    EXPECT_TRUE(
            daemon->dumpTraceForPidWithTimeout(hang().app, 20, "/tmp/hidden", &isCaptured).isOk());
    EXPECT_FALSE(isCaptured);
    EXPECT_EQ("", readFile("/tmp/hidden"));
    EXPECT_EQ(0, mount(nullptr, "/proc", nullptr, MS_REMOUNT, "hidepid=0"));
    EXPECT_EQ(1U, getTransaction(daemon, hang().app).lines.size());
    daemon = nullptr;
    killDaemon();
}

}  // namespace
}  // namespace android::test
