#include "binderlog/KernelLogFormat.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>

#include "tests/support/FakeDevice.h"

namespace android::test {

namespace {

constexpr char kNew[] =
        "4 (null) operator():LINE: Kernel version %s >= 6.1, support new binder "
        "log format\n";
constexpr char kOld[] =
        "4 (null) operator():LINE: Kernel version %s < 6.1, support old binder "
        "log format\n";
constexpr char kUnreadable[] = "6 (null) operator():LINE: Failed to parse kernel version: %s\n";

// Both switches are fixed before main, so each row is a process of its own.
std::string runProbe(const std::string& directory) {
    FILE* probe = popen(("cd " + directory + " && " STARTUP_PROBE).c_str(), "r");
    std::string output;
    for (int c = fgetc(probe); c != EOF; c = fgetc(probe)) {
        output += static_cast<char>(c);
    }
    int status = pclose(probe);
    return status == 0 ? output : "status " + std::to_string(status);
}

std::string fill(std::string text, const std::string& release) {
    return text.replace(text.find("%s"), 2, release);
}

}  // namespace

// The other start-up check finds its file in this folder and then has nothing to say.
class Startup : public FakeDevice {
  protected:
    Startup() {
        unsetenv("STALLSCOPE_TEST_DEBUG");
        std::filesystem::create_directory(path("proc"));
        write("proc/version", "Linux version 6.1.75 (x)\n");
    }
    ~Startup() override {
        unsetenv("STALLSCOPE_TEST_RELEASE");
        unsetenv("STALLSCOPE_TEST_DEBUG");
    }
};

TEST_F(Startup, ChoosesTheFormatByTheKernelRelease) {
    struct {
        const char* release;
        const char* format;
        const char* said;
    } rows[] = {
            {"6.1.75-android14", "new", kNew}, {"6.1", "new", kNew},
            {"6.10.2", "new", kNew},           {"7.0", "new", kNew},
            {"10.0.1", "new", kNew},           {"6.0.9", "old", kOld},
            {"5.15.123", "old", kOld},         {"4.19", "old", kOld},
            {"6", "old", kUnreadable},         {"", "old", kUnreadable},
            {"x6.1", "old", kUnreadable},      {"6.x", "old", kUnreadable},
    };
    for (const auto& row : rows) {
        setenv("STALLSCOPE_TEST_RELEASE", row.release, 1);
        EXPECT_EQ(runProbe(path("")), std::string(row.format) + " format, debug off, 1 name\n" +
                                              fill(row.said, row.release));
    }
    setenv("STALLSCOPE_TEST_RELEASE", "(fail)", 1);
    EXPECT_EQ(runProbe(path("")),
              "old format, debug off, 1 name\n"
              "6 (null) operator():LINE: Failed to call uname: Bad address\n");
}

TEST_F(Startup, ReadsTheDebugSwitch) {
    const std::pair<const char*, const char*> rows[] = {
            {"1", "on"},  {"true", "on"},   {"TRUE", "on"},   {"True", "on"}, {"0", "off"},
            {"", "off"},  {"11", "off"},    {" true", "off"}, {"yes", "off"}, {"on", "off"},
            {"2", "off"}, {"true ", "off"}, {"false", "off"}};
    setenv("STALLSCOPE_TEST_RELEASE", "6.1", 1);
    for (const auto& [value, state] : rows) {
        setenv("STALLSCOPE_TEST_DEBUG", value, 1);
        EXPECT_EQ(runProbe(path("")),
                  "new format, debug " + std::string(state) + ", 1 name\n" + fill(kNew, "6.1"))
                << value;
    }
}

TEST_F(Startup, LooksForTheKernelVersionBelowTheWorkingDirectory) {
    setenv("STALLSCOPE_TEST_RELEASE", "6.1", 1);
    std::string start = "new format, debug off, 1 name\n";
    std::string kernel = fill(kNew, "6.1");
    std::string missing = "6 (null) operator():LINE: Can't open file: proc/version\n";
    std::filesystem::create_directory(path("empty"));
    std::string output = runProbe(path("empty"));
    // The two checks run in any order.
    EXPECT_TRUE(output == start + kernel + missing || output == start + missing + kernel) << output;
    // A version number out of range ends the process, like every number that does not fit.
    write("proc/version", "Linux version " + std::string(400, '9') + ".1 (x)\n");
    EXPECT_EQ(runProbe(path("") + " && ulimit -c 0").substr(0, 7), "status ");
    write("proc/version",
          "A Linux version 5.1 (x)\n\nxLinux version " + std::string(400, '9') + ".1 (x)\n");
    EXPECT_EQ(runProbe(path("")), start + kernel);
}

}  // namespace android::test
