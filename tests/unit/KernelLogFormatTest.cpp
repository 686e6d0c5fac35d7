#include "binderlog/KernelLogFormat.h"

#include <stdlib.h>

#include <cstdio>

#include "tests/support/FakeDevice.h"

namespace android::test {

// What is fixed before main, so each row is a process of its own.
class Startup : public FakeDevice {
  protected:
    // One of the two start-up checks finds its file in this folder and then has nothing to say.
    Startup() { write("proc/version", "Linux version 6.1.75 (x)\n"); }
    ~Startup() override { unsetenv("STALLSCOPE_TEST_RELEASE"); }

    std::string runProbe(const std::string& release, const std::string& debug = "0") {
        setenv("STALLSCOPE_TEST_RELEASE", release.c_str(), 1);
        std::string command = "cd " + path(folder) + " && ulimit -c 0 && STALLSCOPE_TEST_DEBUG='" +
                              debug + "' exec " STARTUP_PROBE;
        FILE* probe = popen(command.c_str(), "r");
        std::string output;
        for (int c = fgetc(probe); c != EOF; c = fgetc(probe)) {
            output += static_cast<char>(c);
        }
        return pclose(probe) == 0 ? output : "failed";
    }

    std::string folder = ".";
    const std::string switches = " format, debug off, com.android.commands.monkey\n";
    const std::string supported =
            "new" + switches +
            "I operator(): Kernel version 6.1 >= 6.1, support new binder log format\n";
};

TEST_F(Startup, ChoosesTheFormatByTheKernelRelease) {
    const std::tuple<std::string, std::string, const char*, Texts> rows[] = {
            {"new",
             "I operator(): Kernel version ",
             " >= 6.1, support new binder log format\n",
             {"6.1.75-android14", "6.1", "6.10.2", "7.0", "10.0.1"}},
            {"old",
             "I operator(): Kernel version ",
             " < 6.1, support old binder log format\n",
             {"6.0.9", "5.15.123", "4.19"}},
            {"old",
             "E operator(): Failed to parse kernel version: ",
             "\n",
             {"6", "", "x6.1", "6.x"}}};
    for (const auto& [format, before, after, releases] : rows) {
        for (const std::string& release : releases) {
            EXPECT_EQ(runProbe(release), format + switches + before + release + after);
        }
    }
    EXPECT_EQ(runProbe("(fail)"),
              "old" + switches + "E operator(): Failed to call uname: Bad address\n");
}

TEST_F(Startup, ReadsTheDebugSwitch) {
    for (const char* value : {"1", "true", "TRUE", "True"}) {
        EXPECT_NE(runProbe("6.1", value).find("debug on"), std::string::npos) << value;
    }
    for (const char* value : {"0", "", "11", " true", "yes", "on", "2", "true ", "false"}) {
        EXPECT_EQ(runProbe("6.1", value), supported) << value;
    }
}

TEST_F(Startup, LooksForTheKernelVersionBelowTheWorkingDirectory) {
    std::string tooLong = "Linux version " + std::string(400, '9') + ".1 (x)\n";
    write("proc/version", "A Linux version 5.1 (x)\n\nx" + tooLong);
    EXPECT_EQ(runProbe("6.1"), supported);
    // A version number out of range ends the process, like every number that does not fit.
    write("proc/version", tooLong);
    EXPECT_EQ(runProbe("6.1"), "failed");
    folder = "proc";
    std::string output = runProbe("6.1");
    std::string missing = "E operator(): Can't open file: proc/version\n";
    // The two checks run in any order.
    ASSERT_NE(output.find(missing), std::string::npos) << output;
    EXPECT_EQ(output.erase(output.find(missing), missing.size()), supported);
}

}  // namespace android::test
