#include "diagnostics/FdInspection.h"

#include "tests/support/FakeDevice.h"

namespace android::test {

using FdInspection = FakeDevice;

TEST_F(FdInspection, CountsTheDirectorysOwnEntriesAndListsTheOthers) {
    std::string longTarget(4090, 'x');
    link("/proc/41/fd/7", "socket:[56789]");
    link("/proc/41/fd/9", longTarget);
    EXPECT_EQ(getFdAmount(41), 4);
    EXPECT_EQ(takeLog(), Texts{});
    EXPECT_EQ(getFdAmount(42), -1);
    EXPECT_EQ(takeLog(), Texts{"E getFdAmount: open fdDir fail!"});

    write("/proc/41/fd/8", "");  // can't be read as a link, like one that was closed meanwhile
    write("list", "what an earlier listing left" + longTarget + longTarget);
    writeFdInfoToFile(path("list"), 41);
    std::string content = read("list");
    std::string socket = "/proc/41/fd/7 -> socket:[56789]\n";
    std::string other = "/proc/41/fd/9 -> " + longTarget + "\n";
    EXPECT_TRUE(content == socket + other || content == other + socket) << content;
    EXPECT_EQ(takeLog(), (Texts{"D writeFdInfoToFile: fdDir is:/proc/41/fd",
                                "E writeFdInfoToFile: Error reading link /proc/41/fd/8"}));
}

TEST_F(FdInspection, SaysWhatItCannotReadWriteOrSync) {
    link("/proc/41/fd/7", "x");
    write("list", "kept");
    const std::tuple<std::string, int, std::string> rows[] = {
            {path("list"), 42, "E writeFdInfoToFile: open fdDir fail!"},
            {path("no/list"), 41, "E writeFdInfoToFile: open filePath fail: " + path("no/list")},
            // A device can be written to, but not forced to storage.
            {"/dev/null", 41, "E syncFile: Error syncing file"}};
    for (const auto& [file, pid, said] : rows) {
        writeFdInfoToFile(file, pid);
        EXPECT_EQ(takeLogWithoutDebug(), Texts{said});
    }
    EXPECT_EQ(read("list"), "kept");
    syncFile(path("no"));
    EXPECT_EQ(takeLog(), Texts{"E syncFile: Error opening file for syncing"});
}

}  // namespace android::test
