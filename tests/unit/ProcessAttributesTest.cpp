#include "diagnostics/ProcessAttributes.h"

#include <climits>

#include "diagnostics/ProcessClassification.h"
#include "tests/support/FakeDevice.h"

namespace android::test {

using ProcessAttributes = FakeDevice;

TEST_F(ProcessAttributes, ReadsTheFirstElementLineOrNumber) {
    const std::string longText(5000, 'x');
    const std::pair<std::string, std::string> cmdlines[] = {
            {std::string("monkey\0-p\0x\0", 12), "monkey"},
            {"init second_stage\n", "init second_stage\n"},
            {std::string("\0x", 2), ""},
            {"", ""},
            {longText, longText},
            // Read piece by piece.
            {longText.substr(0, 1024) + '\0' + longText, longText.substr(0, 1024)},
            {longText.substr(0, 1023) + '\0' + longText, longText.substr(0, 1023)}};
    for (const auto& [content, cmdline] : cmdlines) {
        writeFile("/proc/41/cmdline", content);
        EXPECT_EQ(getProcessCmdline(41), cmdline);
    }
    const std::pair<const char*, const char*> comms[] = {{"binder:41_2\n", "binder:41_2"},
                                                         {"a b)\nc\n", "a b)"},
                                                         {"no end", "no end"},
                                                         {"", ""}};
    for (const auto& [content, comm] : comms) {
        writeFile("/proc/41/comm", content);
        EXPECT_EQ(getProcessComm(41), comm);
    }
    const std::pair<const char*, int> adjs[] = {
            {"-900\n", -900}, {" \n 15", 15},  {"+7", 7},
            {"010", 10},      {"0x10", 0},     {"-2147483649", INT_MIN},
            {"12 34", 12},    {"900abc", 900}, {"", -1000},
            {"\n", -1000},    {"x", -1000},    {"2147483648", INT_MAX}};
    for (const auto& [content, adj] : adjs) {
        writeFile("/proc/41/oom_score_adj", content);
        EXPECT_EQ(getOomAdjOfPid(41), adj) << content;
    }
    EXPECT_EQ(takeLog(), Texts());
}

TEST_F(ProcessAttributes, GivesDefaultsForAProcessThatHasGone) {
    EXPECT_EQ(getProcessCmdline(INT_MIN), "unknown");
    EXPECT_EQ(getProcessComm(INT_MIN), "unknown");
    EXPECT_EQ(getOomAdjOfPid(INT_MIN), -1000);
    const std::string opening = "Failed to open /proc/" + std::to_string(INT_MIN);
    EXPECT_EQ(takeLog(), (Texts{"E getProcessCmdline: " + opening + "/cmdline",
                                "E getProcessComm: " + opening + "/comm",
                                "E getOomAdjOfPid: " + opening + "/oom_score_adj"}));
}

TEST(ProcessClassification, DrawsItsBoundsExactly) {
    const std::pair<ProcessType, std::vector<int>> rows[] = {
            {ProcessType::Native, {-1000}},
            {ProcessType::Shell, {-950}},
            {ProcessType::Java, {-900, 0, 1000}},
            {ProcessType::Unknown, {INT_MIN, -1001, -999, -951, -949, -901, 1001, INT_MAX}}};
    for (const auto& [type, adjs] : rows) {
        for (int adj : adjs) {
            EXPECT_EQ(classifyOomAdj(adj), type) << adj;
        }
    }
}

}  // namespace android::test
