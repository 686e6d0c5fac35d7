#include "client/Output.h"

#include <gtest/gtest.h>

namespace android {
namespace {

TEST(OutputTest, JsonSurvivesWhateverAProcessCallsItself) {
    const std::pair<std::string, std::string> cases[] = {
            {"a\"b\\c/", "a\\\"b\\\\c/"},
            {std::string("\0\n\x1b\x7f", 4), "\\u0000\\u000a\\u001b\\u007f"},
            {"\u009b", "\\u009b"},
            {"gr\u00fc\u00df \u20ac \U0001f642", "gr\u00fc\u00df \u20ac \U0001f642"},
            {"a\xFFz", "a\ufffdz"},
            {"cut\xE2\x82", "cut\ufffd\ufffd"},
            {"\xC0\xAF", "\ufffd\ufffd"},
            {"\xED\xA0\x80", "\ufffd\ufffd\ufffd"},
            {"\xF4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd"},
    };
    for (const auto& [text, json] : cases) {
        EXPECT_EQ("\"" + json + "\"", jsonString(text));
    }
    Report report;
    report.string("s", "x");
    report.number("n", -1);
    report.flag("f", false);
    report.list("l", {"1", "\""});
    EXPECT_EQ("{\"s\":\"x\",\"n\":-1,\"f\":false,\"l\":[\"1\",\"\\\"\"]}\n", report.json());
}

TEST(OutputTest, TextForPeopleCannotSteerTheTerminalOrBreakALine) {
    Report report;
    report.say("\"Lines\\\":", {"one\ntwo", "a\x1b[2J\u009b"});
    EXPECT_EQ("\"Lines\\\":\none\\x0atwo\na\\x1b[2J\\x9b\n\n", report.text());
}

}  // namespace
}  // namespace android
