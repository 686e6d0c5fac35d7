#include "analysis/input/Input.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "analysis/graph/Analysis.h"
#include "tests/analysis/input/Describe.h"
#include "tests/analysis/input/ZipWriter.h"

namespace stallscope {
namespace {

const std::string kLog = "binder transactions:\nproc 5\n  thread 6: l 11 need_return 0 tr 0\n";
const std::string kDump =
        "----- pid 7 at 2023-05-04 10:11:12 -----\nCmd line: seven\n"
        "\"main\" prio=5 tid=1 Native\n----- end 7 -----\n";
const std::string kList = "USER PID PPID S NAME\nroot 5 1 S five\n";
const std::string kReport =
        "== dumpstate: 2023-05-04 10:11:12\n"
        "------ BINDER TRANSACTIONS (x) ------\n" +
        kLog;

std::string read(const std::string& text, Snapshot* snapshot) {
    std::string error = readText(text, snapshot);
    return error.empty() ? std::string(nameOf(snapshot->format)) + "\n" + describe(*snapshot)
                         : error;
}

std::string read(const std::string& text) {
    Snapshot snapshot;
    return read(text, &snapshot);
}

TEST(Input, KnowsFormatsByTheirContent) {
    const std::string log = "log 5: 6 complete\nskipped 0\n";
    EXPECT_EQ("binder-log\n" + log, read(kLog));
    EXPECT_EQ("binder-log\n" + log, read(kLog.substr(kLog.find("proc"))));
    EXPECT_EQ("thread-dump\ndump 7 now threads 1 @1\nskipped 0\n", read(kDump));
    EXPECT_EQ("thread-dump\ndump 7 now threads 1 @1\nskipped 0\n", read("\xef\xbb\xbf" + kDump));
    EXPECT_EQ("process-list\nskipped 0\n", read(kList));
    EXPECT_EQ("bug-report\nlog 5: 6 complete\nmoment 1683195072\nskipped 0\n", read(kReport));
    EXPECT_EQ("bug-report-zip\nlog 5: 6 complete\nmoment 1683195072\nskipped 0\n",
              read(zip({{"b.txt", kReport}})));
    EXPECT_EQ("binder-log\nlog 5: 6 complete\nskipped 0\n",
              read("binder state:\n" + kLog.substr(21)));
}

TEST(Input, ReadsSeveralTextsInOneFile) {
    std::string all =
            kLog + "\n" + kDump + "\n" + kList + "binder state:\n" + kLog.substr(21) + kDump;
    Snapshot snapshot;
    EXPECT_EQ(
            "binder-log\nlog 5: 6 complete\npool 5:6 @14\n"
            "dump 7 now threads 1 @5\ndump 7 now threads 1 @15\nskipped 0\n",
            read(all, &snapshot));
    EXPECT_EQ("five", snapshot.names.ofProcess(5));
    EXPECT_EQ("seven", snapshot.names.ofProcess(7));
    EXPECT_EQ(18U, snapshot.lines.lines());
    EXPECT_EQ("binder-log\nlog 5: 6 complete\ndump 7 now threads 1 @1\nskipped 0\n",
              read(kDump + kLog));
}

// Line ends that were added on the way make no log longer than the kernel wrote it.
TEST(Input, MeasuresTheLogAsTheDeviceWroteIt) {
    std::string log = kLog;
    while (log.size() < 4060) {
        log += "  buffer 1: 0 size 1:0:0 delivered\n";
    }
    std::string returned;
    for (char each : log) {
        returned += each == '\n' ? "\r\n" : std::string(1, each);
    }
    Snapshot plain;
    Snapshot translated;
    EXPECT_EQ(read(log, &plain), read(returned, &translated));
    EXPECT_FALSE(plain.log->complete);
    EXPECT_FALSE(translated.log->complete);
    EXPECT_EQ(plain.lineAt({0, 3}), translated.lineAt({0, 3}));
    EXPECT_EQ("binder-log\nlog 5: complete\nskipped 0\n", read("proc 5\r\n\r\n"));
}

// A JVM's own dump does not say whose it is.
TEST(Input, FindsTheDeadlockOfAProcessWithoutNumber) {
    Snapshot snapshot;
    EXPECT_EQ("", readText("Full thread dump OpenJDK\n"
                           "\"A\" #1 prio=5 tid=0x1 nid=0xb waiting for monitor entry [0x1]\n"
                           "\t- waiting to lock <0x1> (a T)\n\t- locked <0x2> (a T)\n"
                           "\"B\" #2 prio=5 tid=0x2 nid=0xc waiting for monitor entry [0x1]\n"
                           "\t- waiting to lock <0x2> (a T)\n\t- locked <0x1> (a T)\n",
                           &snapshot));
    EXPECT_EQ(1U, analyze(snapshot, AnalysisOptions()).deadlocks.size());
    EXPECT_EQ("B", snapshot.names.ofThread({0, 12}));
}

TEST(Input, SaysWhatIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
            {"", "text is empty"},
            {" \r\n\n", "text is empty"},
            {"\xff\xfe b", "text is UTF-16 text"},
            {"\x1f\x8b b", "text is compressed with gzip"},
            {"any other text", "text is neither"},
            {"PK\3\4", "text is damaged"},
    };
    for (const auto& [text, sentence] : cases) {
        EXPECT_EQ(0U, read(text).find(sentence)) << read(text);
    }
    Snapshot snapshot;
    EXPECT_EQ("Can't open /nonexistent: No such file or directory",
              readInput("/nonexistent", {}, &snapshot));
    EXPECT_EQ("/tmp is a directory: give it the files in it", readInput("/tmp", {}, &snapshot));
    // without an end
    EXPECT_EQ(0U, readInput("/dev/zero", {}, &snapshot).find("/dev/zero is neither"));
}

TEST(Input, ReadsFilesAndPipes) {
    std::string path = testing::TempDir() + "analysis-input-" + std::to_string(getpid());
    for (const std::string& text : {kLog, kReport, zip({{"b.txt", kReport}})}) {
        std::ofstream(path, std::ios::binary) << text;
        Snapshot file;
        uint64_t bytes = 0;
        EXPECT_EQ("", readInput(
                              path, [&](uint64_t more) { bytes += more; }, &file));
        EXPECT_GE(bytes, text.size());
        EXPECT_EQ(read(text), std::string(nameOf(file.format)) + "\n" + describe(file));
        unlink(path.c_str());
        ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
        std::thread writer([&] { std::ofstream(path, std::ios::binary) << text; });
        Snapshot pipe;
        EXPECT_EQ("", readInput(path, {}, &pipe));
        writer.join();
        EXPECT_EQ(describe(file), describe(pipe));
        unlink(path.c_str());
    }
}

}  // namespace
}  // namespace stallscope
