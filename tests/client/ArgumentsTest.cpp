#include <gtest/gtest.h>

#include "client/Commands.h"

namespace android {
namespace {

using Words = std::vector<std::string>;

Arguments accepted(const char* command, const Words& words) {
    Arguments arguments;
    const Result result = parseArguments(findCommand(command)->syntax, words, &arguments);
    EXPECT_FALSE(result.failed()) << command << ": " << result.error;
    return arguments;
}

TEST(ArgumentsTest, OperandsReachTheirPlacesInTheOrderOfTheSyntax) {
    const Arguments async = accepted("async", {"12", "2147483647"});
    EXPECT_EQ(12, async.anrPid);
    EXPECT_EQ(2147483647, async.pid);
    const Arguments listFds = accepted("list-fds", {"out", "7"});
    EXPECT_EQ("out", listFds.file);
    EXPECT_EQ(7, listFds.pid);
    const Arguments list = accepted("dump-list", {"out", "", "3", "4", "3"});
    EXPECT_EQ("", list.subject);
    EXPECT_EQ((std::vector<int32_t>{3, 4, 3}), list.pids);
    const Arguments binder = accepted("dump-binder", {"5", "out", "a", "-9", "--", "--wait"});
    EXPECT_EQ((Words{"a", "-9", "--wait"}), binder.names);
    EXPECT_EQ(0, binder.waitSecs);
    EXPECT_TRUE(accepted("dump-binder", {"5", "out"}).names.empty());
    EXPECT_EQ("", accepted("print", {"5", ""}).tag);
    EXPECT_EQ(128U, accepted("chain", {"5", std::string(128, 't')}).tag.size());
}

TEST(ArgumentsTest, OptionsStandAnywhereAndTakeTheirValueInBothForms) {
    const Arguments dump =
            accepted("dump", {"--timeout=3", "1", "--json", "--wait-reply", "90", "out"});
    EXPECT_EQ(3, dump.timeoutSecs);
    EXPECT_EQ(90, dump.waitReplySecs);
    EXPECT_TRUE(dump.json);
    EXPECT_FALSE(dump.force);
    const Arguments binder = accepted("dump-binder", {"--no-binder-info", "1", "--wait", "out"});
    EXPECT_TRUE(binder.noBinderInfo);
    EXPECT_EQ(60, binder.waitSecs);
    EXPECT_EQ("out", binder.file);
    EXPECT_EQ(9, accepted("dump-binder", {"1", "out", "--wait=9"}).waitSecs);
    EXPECT_EQ(-3, accepted("check", {"1", "-3"}).seconds);
    EXPECT_TRUE(accepted("transaction", {"-h", "not read any more"}).help);
}

TEST(ArgumentsTest, WhatCannotBeMeantIsRefusedWithItsName) {
    const struct {
        const char* command;
        Words words;
        const char* named;
    } kCases[] = {
            {"transaction", {}, "PID is missing"},
            {"transaction", {"0"}, "PID must"},
            {"transaction", {"-5"}, "PID must"},
            {"transaction", {"2147483648"}, "PID must"},
            {"transaction", {"12x"}, "PID must"},
            {"transaction", {" 12"}, "PID must"},
            {"transaction", {"+12"}, "PID must"},
            {"transaction", {""}, "PID must"},
            {"transaction", {"1", "2"}, "too many: 2"},
            {"transaction", {"1", "--timeout", "2"}, "unknown option --timeout"},
            {"transaction", {"1", "--json=yes"}, "write --json"},
            {"async", {"1"}, "PID is missing"},
            {"check", {"1", "2.5"}, "SECONDS must"},
            {"print", {"1"}, "TAG is missing"},
            {"print", {"1", std::string(129, 't')}, "TAG is longer"},
            {"print", {"1", "\xff"}, "TAG is not valid UTF-8"},
            {"dump", {"1", ""}, "FILE is empty"},
            {"dump", {"1", "out", "--timeout"}, "--timeout needs"},
            {"dump", {"1", "out", "--timeout="}, "write --timeout S"},
            {"dump", {"1", "out", "--timeout", "0"}, "--timeout must"},
            {"dump-list", {"out", "subject"}, "PID... is missing"},
            {"dump-list", {"out", "subject", "1", "x"}, "PID must"},
            {"dump-binder", {"1", "out", ""}, "NAME is empty"},
            {"dump-binder", {"1", "out", "--wait=x"}, "--wait must"},
    };
    for (const auto& c : kCases) {
        Arguments arguments;
        const Result result = parseArguments(findCommand(c.command)->syntax, c.words, &arguments);
        EXPECT_EQ(kUsage, result.status) << c.command << " " << c.named;
        EXPECT_NE(std::string::npos, result.error.find(c.named)) << result.error;
    }
}

}  // namespace
}  // namespace android
