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

TEST(ArgumentsTest, OperandsReachTheirPlacesAndOptionsStandAnywhere) {
    const Arguments async = accepted("async", {"12", "2147483647"});
    EXPECT_EQ(12, async.anrPid);
    EXPECT_EQ(2147483647, async.pid);
    const Arguments list = accepted("dump-list", {"out", "", "3", "4", "3"});
    EXPECT_EQ("out", list.file);
    EXPECT_EQ((std::vector<int32_t>{3, 4, 3}), list.pids);
    EXPECT_EQ(-3, accepted("check", {"1", "-3"}).seconds);
    EXPECT_EQ(128U, accepted("chain", {"5", std::string(128, 't')}).tag.size());
    EXPECT_TRUE(accepted("transaction", {"-h", "not read any more"}).help);

    const Arguments dump = accepted("dump", {"--timeout=3", "1", "--json", "out"});
    EXPECT_EQ(3, dump.timeoutSecs);
    EXPECT_TRUE(dump.json && !dump.force);
    const Arguments binder =
            accepted("dump-binder", {"--wait", "5", "out", "a", "-9", "--", "--wait=7"});
    EXPECT_EQ(60, binder.waitSecs);
    EXPECT_EQ((Words{"a", "-9", "--wait=7"}), binder.names);
}

TEST(ArgumentsTest, WhatCannotBeMeantIsRefusedWithItsName) {
    const std::tuple<const char*, Words, const char*> cases[] = {
            {"transaction", {}, "PID is missing"},
            {"transaction", {"0"}, "PID must"},
            {"transaction", {"2147483648"}, "PID must"},
            {"transaction", {"12x"}, "PID must"},
            {"transaction", {"1", "2"}, "too many: 2"},
            {"transaction", {"1", "--timeout", "2"}, "unknown option --timeout"},
            {"transaction", {"1", "--json=yes"}, "write --json"},
            {"check", {"1", "2.5"}, "SECONDS must"},
            {"print", {"1", std::string(129, 't')}, "TAG is longer"},
            {"print", {"1", "\xff"}, "TAG is not valid UTF-8"},
            {"dump", {"1", ""}, "FILE is empty"},
            {"dump", {"1", "out", "--timeout"}, "--timeout needs"},
            {"dump", {"1", "out", "--timeout", "0"}, "--timeout must"},
            {"dump-binder", {"1", "out", ""}, "NAME is empty"},
    };
    for (const auto& [command, words, named] : cases) {
        Arguments arguments;
        const Result result = parseArguments(findCommand(command)->syntax, words, &arguments);
        EXPECT_EQ(kUsage, result.status) << command << " " << named;
        EXPECT_NE(std::string::npos, result.error.find(named)) << result.error;
    }
}

}  // namespace
}  // namespace android
