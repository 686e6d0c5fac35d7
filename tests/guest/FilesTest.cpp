// The files that the daemon writes, and refuses to write.

#include <chrono>
#include <regex>

#include "tests/guest/DumpsFixture.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;

using FileTest = DumpsTest;

TEST_F(FileTest, FdListingReplacesTheFileWithEveryDescriptor) {
    pid_t pid = startInBackground(
            "bash -c 'coproc sleep 10000; exec 3>/tmp/deleted "
            "4<>/dev/udp/127.0.0.1/9; rm /tmp/deleted; exec 6</; wait'");
    const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
    EXPECT_TRUE(eventually([&] { return output("readlink " + folder + "/6") == "/"; }));
    writeFile(mFile, std::string(100000, 'x'));
    int size = 0;
    EXPECT_TRUE(mDaemon->getFdSize(pid, &size).isOk());
    EXPECT_TRUE(mDaemon->catchFdInfo(mFile, pid).isOk());
    Texts expected;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        expected.push_back(entry.path().string() + " -> " + fs::read_symlink(entry).string());
    }
    const std::string text = readFile(mFile);
    EXPECT_EQ(expected, linesOf(text));
    EXPECT_EQ(expected.size() + 2, static_cast<size_t>(size)) << "\".\" and \"..\" are counted";
    EXPECT_EQ(1U, count(text, folder + "/3 -> /tmp/deleted (deleted)\n"));
    EXPECT_EQ(1U, count(text, folder + "/4 -> socket:["));
    EXPECT_EQ(2U, count(text, " -> pipe:["));
    EXPECT_EQ(Texts(), takeDaemonLog());
}

TEST_F(FileTest, DescriptorsClosedDuringTheWalkAreLoggedAndLeftOut) {
    pid_t pid = startInBackground(
            "bash -c 'while true; do"
            " for fd in {10..60}; do eval \"exec $fd</dev/null\"; done;"
            " for fd in {10..60}; do eval \"exec $fd<&-\"; done; done'");
    const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
    const std::regex line(folder + "/\\d+ -> .+");
    const std::regex error("E writeFdInfoToFile: Error reading link " + folder + "/\\d+");
    EXPECT_TRUE(eventually([&] {
        EXPECT_TRUE(mDaemon->catchFdInfo(mFile, pid).isOk());
        for (const std::string& each : linesOf(readFile(mFile))) {
            EXPECT_TRUE(std::regex_match(each, line)) << each;
        }
        const Texts log = takeDaemonLog();
        for (const std::string& each : log) {
            EXPECT_TRUE(std::regex_match(each, error)) << each;
        }
        return !log.empty();
    }));
}

TEST_F(FileTest, FilesThatCannotBeWrittenAreRefused) {
    writeFile(mFile, "kept");
    fs::create_symlink(mFile, mFolder + "/link");
    EXPECT_TRUE(mDaemon->catchFdInfo(mFile, kNobody).isOk());
    EXPECT_TRUE(mDaemon->catchFdInfo("/sys/a", 1).isOk());
    EXPECT_TRUE(mDaemon->dumpTraceForPidList({1}, "subject", "/sys/a").isOk());
    dump(kNobody, true, {}, "/sys/a/b");
    dump(kNobody, true, {}, "/sys/a");
    EXPECT_FALSE(capture(kNobody, 1, "/sys/a"));
    EXPECT_FALSE(capture(kNobody, 1, mFolder + "/link"));
    EXPECT_EQ("kept", readFile(mFile));
    const std::string reason = "[error: Operation not permitted]";
    Texts expected = {"E writeFdInfoToFile: open fdDir fail!",
                      "E writeFdInfoToFile: open filePath fail: /sys/a",
                      "E dumpTraceForAllProcess: Failed to write subject to file",
                      "E dumpTraceAndBinderInfo: Failed to create directory: /sys/a " + reason,
                      "E getBinderTransactions: No transactions found for pid 4194304",
                      "E dumpTraceAndBinderInfo: Failed to open file: /sys/a"};
    for (const std::string& file : {std::string("/sys/a"), mFolder + "/link"}) {
        expected.push_back("E getOomAdjOfPid: Failed to open /proc/4194304/oom_score_adj");
        expected.push_back("I dumpBacktraceToFileTimeout: Dumping trace for pid 4194304 to " +
                           file + " with timeout 1 seconds, adj = -1000, processType = 1");
        expected.push_back("E dumpTraces: Can't open file: " + file);
        expected.push_back(
                "E dumpBacktraceToFileTimeout: Native stack dump failed for pid 4194304");
    }
    EXPECT_EQ(expected, takeDaemonLog());
}

TEST_F(FileTest, DirectoryIsPrunedToItsFiveNewestFiles) {
    fs::create_directory(mFolder + "/subdirectory");
    for (int i = 1; i <= 7; ++i) {
        const std::string file = mFolder + "/former" + std::to_string(i);
        writeFile(file, "");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(i));
    }
    dump(kNobody, true, {}, mFolder + "/new");
    auto files = [&] { return output("ls -x -w 200 " + mFolder); };
    EXPECT_TRUE(eventually([&] { return count(files(), "former") <= 4; }));
    EXPECT_EQ("former1  former2  former3  former4  new  subdirectory", files());
    EXPECT_EQ("Binder Info:\nNo binder info found\n", readFile(mFolder + "/new"));
}

// Several attempts: the second that each capture has may be too little for a busy emulated machine.
TEST_F(FileTest, TwoJobsInOneDirectoryLeaveBothFilesWhole) {
    pid_t pids[] = {startInBackground("sleep 30001"), startInBackground("sleep 30002")};
    std::string texts[2];
    auto isWhole = [&](int job) {
        return count(texts[job], "\n----- end " + std::to_string(pids[job])) == 1;
    };
    for (int attempt = 1; attempt <= 10 && !(isWhole(0) && isWhole(1)); ++attempt) {
        const std::string folder = mFolder + "/" + std::to_string(attempt);
        const std::string files[] = {folder + "/with", folder + "/without"};
        dump(kNobody, true, {"sleep30001"}, files[0]);
        dump(kNobody, false, {"sleep30002"}, files[1]);
        EXPECT_TRUE(contains(takeDaemonLog(),
                             "I dumpTraceAndBinderInfo: Created directory: " + folder));
        auto isDone = [&](int job) {
            texts[job] = isWhole(job) ? texts[job] : readFile(files[job]);
            return isWhole(job);
        };
        eventually([&] { return isDone(0) && isDone(1); }, 4);
    }
    const std::string header = "\n\n----- pid ";
    EXPECT_EQ(0U, texts[0].find("Binder Info:\nNo binder info found\n" + header +
                                std::to_string(pids[0])));
    EXPECT_EQ(0U, texts[1].find(header + std::to_string(pids[1])));
    EXPECT_TRUE(isWhole(0) && isWhole(1)) << texts[0] << texts[1];
    EXPECT_EQ(1U, count(texts[0], header)) << texts[0];
    EXPECT_EQ(1U, count(texts[1], header)) << texts[1];
}

}  // namespace
}  // namespace android::test
