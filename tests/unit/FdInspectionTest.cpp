#include "diagnostics/FdInspection.h"

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"

namespace android::test {

using FdInspection = FakeDevice;

TEST_F(FdInspection, CountsTheDirectorysOwnEntriesToo) {
    addProcLink("41/fd/0", "/dev/null");
    addProcLink("41/fd/7", "socket:[56789]");
    addProcLink("41/fd/12", "/tmp/x (deleted)");
    EXPECT_EQ(getFdAmount(41), 5);
    EXPECT_TRUE(takeLog().empty());
    for (int pid : {42, -1}) {
        EXPECT_EQ(getFdAmount(pid), -1);
        EXPECT_EQ(takeLog(), std::vector<LogEntry>{error("getFdAmount", "open fdDir fail!")});
    }
}

TEST_F(FdInspection, ListsWhereEachDescriptorLeads) {
    std::string longTarget(4090, 'x');
    addProcLink("41/fd/7", "socket:[56789]");
    addProcFile("41/fd/8", "");  // can't be read as a link, like one that was closed meanwhile
    addProcLink("41/fd/9", longTarget);
    write("list", "what an earlier listing left, which is longer");
    writeFdInfoToFile(path("list"), 41);
    std::string content = read("list");
    std::string socket = "/proc/41/fd/7 -> socket:[56789]\n";
    std::string cut = "/proc/41/fd/9 -> " + longTarget + "\n";
    EXPECT_TRUE(content == socket + cut || content == cut + socket) << content;
    EXPECT_EQ(takeLog(), (std::vector<LogEntry>{
                                 debug("writeFdInfoToFile", "fdDir is:/proc/41/fd"),
                                 error("writeFdInfoToFile", "Error reading link /proc/41/fd/8")}));
}

TEST_F(FdInspection, LeavesTheFileAloneWithoutAProcess) {
    write("list", "kept");
    writeFdInfoToFile(path("list"), 42);
    writeFdInfoToFile(path("new"), 42);
    EXPECT_EQ(read("list"), "kept");
    EXPECT_EQ(read("new"), "(no such file)");
    EXPECT_EQ(takeLogWithoutDebug(),
              std::vector<LogEntry>(2, error("writeFdInfoToFile", "open fdDir fail!")));
}

TEST_F(FdInspection, SaysWhatItCannotWriteOrSync) {
    addProcLink("41/fd/7", "x");
    writeFdInfoToFile(path("no/list"), 41);
    EXPECT_EQ(takeLogWithoutDebug(),
              std::vector<LogEntry>{
                      error("writeFdInfoToFile", "open filePath fail: " + path("no/list"))});
    // A device can be written to, but not forced to storage.
    writeFdInfoToFile("/dev/null", 41);
    EXPECT_EQ(takeLogWithoutDebug(),
              std::vector<LogEntry>{error("syncFile", "Error syncing file")});
    syncFile(path("no"));
    EXPECT_EQ(takeLog(),
              std::vector<LogEntry>{error("syncFile", "Error opening file for syncing")});
}

}  // namespace android::test
