#include "client/Output.h"

#include <gtest/gtest.h>

namespace android {
namespace {

constexpr const char* kReplaced = "\xEF\xBF\xBD";

TEST(OutputTest, JsonStringsSurviveWhateverAProcessCallsItself) {
    const struct {
        std::string text;
        std::string json;
    } kCases[] = {
            {"", "\"\""},
            {"a\"b\\c/", "\"a\\\"b\\\\c/\""},
            {std::string("\0\n\x1b\x7f", 4), "\"\\u0000\\u000a\\u001b\\u007f\""},
            {"\xC2\x9B", "\"\\u009b\""},
            {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82",
             "\"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82\""},
            {"a\xFFz", std::string("\"a") + kReplaced + "z\""},
            {"cut\xE2\x82", std::string("\"cut") + kReplaced + kReplaced + "\""},
            {"\xC0\xAF", std::string("\"") + kReplaced + kReplaced + "\""},
            {"\xC3\"", std::string("\"") + kReplaced + "\\\"\""},
            {"\xED\xA0\x80", std::string("\"") + kReplaced + kReplaced + kReplaced + "\""},
            {"\xF4\x90\x80\x80",
             std::string("\"") + kReplaced + kReplaced + kReplaced + kReplaced + "\""},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.json, jsonString(c.text));
    }
}

TEST(OutputTest, TextForPeopleCannotSteerTheTerminalOrBreakALine) {
    EXPECT_EQ("a\\x1b[2J\\x0ab", printable("a\x1b[2J\nb"));
    EXPECT_EQ("\"back\\slash\"", printable("\"back\\slash\""));
    EXPECT_EQ("\\x9b", printable("\xC2\x9B"));
    Report report;
    report.say("Lines:", {"one\ntwo"});
    EXPECT_EQ("Lines:\none\\x0atwo\n\n", report.text());
}

TEST(OutputTest, AReportIsOneObjectWithItsMembersInOrder) {
    Report report;
    report.string("s", "x");
    report.number("n", -1);
    report.flag("f", false);
    report.list("l", {"1", "\""});
    report.list("empty", {});
    EXPECT_EQ("{\"s\":\"x\",\"n\":-1,\"f\":false,\"l\":[\"1\",\"\\\"\"],\"empty\":[]}\n",
              report.json());
}

}  // namespace
}  // namespace android
