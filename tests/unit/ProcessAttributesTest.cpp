#include "diagnostics/ProcessAttributes.h"

#include <climits>

#include "diagnostics/ProcessClassification.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

using ProcessAttributes = FakeDevice;

TEST_F(ProcessAttributes, ReadsTheFirstElementOfTheCommandLine) {
    const std::pair<std::string, std::string> rows[] = {
            {std::string("com.android.commands.monkey\0-p\0x\0", 33),
             "com.android.commands.monkey"},
            {"/system/bin/init second_stage", "/system/bin/init second_stage"},
            {std::string("a\nb\0c", 5), "a\nb"},
            {std::string("\0x", 2), ""},
            {"", ""},
            {std::string(5000, 'x'), std::string(5000, 'x')},
    };
    for (const auto& [content, cmdline] : rows) {
        addProcFile("41/cmdline", content);
        EXPECT_EQ(getProcessCmdline(41), cmdline);
    }
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ProcessAttributes, ReadsTheFirstLineOfTheName) {
    const std::pair<const char*, const char*> rows[] = {{"binder:41_2\n", "binder:41_2"},
                                                        {"a b)\nc\n", "a b)"},
                                                        {"no end", "no end"},
                                                        {"", ""},
                                                        {"\n", ""}};
    for (const auto& [content, comm] : rows) {
        addProcFile("41/comm", content);
        EXPECT_EQ(getProcessComm(41), comm);
    }
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ProcessAttributes, ReadsOneNumberAsTheAdjustment) {
    const std::pair<const char*, int> rows[] = {
            {"-900\n", -900}, {" \n 15", 15},         {"+7", 7},   {"0", 0},
            {"12 34", 12},    {"900abc", 900},        {"", -1000}, {"\n", -1000},
            {"-1000", -1000}, {"2147483647", INT_MAX}};
    for (const auto& [content, adj] : rows) {
        addProcFile("41/oom_score_adj", content);
        EXPECT_EQ(getOomAdjOfPid(41), adj) << content;
    }
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ProcessAttributes, GivesDefaultsForAProcessThatHasGone) {
    for (int pid : {41, -3, INT_MIN}) {
        std::string folder = "Failed to open /proc/" + std::to_string(pid);
        EXPECT_EQ(getProcessCmdline(pid), "unknown");
        EXPECT_EQ(getProcessComm(pid), "unknown");
        EXPECT_EQ(getOomAdjOfPid(pid), -1000);
        EXPECT_EQ(takeLog(),
                  (std::vector<LogEntry>{error("getProcessCmdline", folder + "/cmdline"),
                                         error("getProcessComm", folder + "/comm"),
                                         error("getOomAdjOfPid", folder + "/oom_score_adj")}));
    }
}

TEST(ProcessClassification, DrawsItsBoundsExactly) {
    const std::pair<int, ProcessType> rows[] = {
            {-1000, ProcessType::Native},   {-950, ProcessType::Shell},
            {-900, ProcessType::Java},      {0, ProcessType::Java},
            {1000, ProcessType::Java},      {-1001, ProcessType::Unknown},
            {-999, ProcessType::Unknown},   {-951, ProcessType::Unknown},
            {-949, ProcessType::Unknown},   {-901, ProcessType::Unknown},
            {1001, ProcessType::Unknown},   {INT_MIN, ProcessType::Unknown},
            {INT_MAX, ProcessType::Unknown}};
    for (const auto& [adj, type] : rows) {
        EXPECT_EQ(classifyOomAdj(adj), type) << adj;
    }
    EXPECT_EQ(kShellJavaProcessNames, Texts{"com.android.commands.monkey"});
}

}  // namespace android::test
