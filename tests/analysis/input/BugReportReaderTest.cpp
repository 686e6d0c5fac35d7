#include "analysis/input/BugReportReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/analysis/input/Describe.h"

namespace stallscope {
namespace {

Snapshot readInChunks(std::string_view report, size_t size) {
    Snapshot snapshot;
    BugReportReader reader(&snapshot);
    for (; !report.empty(); report.remove_prefix(std::min(size, report.size()))) {
        reader.add(report.substr(0, size));
    }
    reader.finish();
    return snapshot;
}

// A report of the lines, whole and in pieces of any size.
std::string readReport(const std::string& report) {
    std::string whole = describe(readInChunks(report, report.size() + 1));
    for (size_t size : {1, 2, 7, 100}) {
        EXPECT_EQ(whole, describe(readInChunks(report, size))) << size;
    }
    uint64_t lines = std::count(report.begin(), report.end(), '\n') + (report.back() != '\n');
    EXPECT_EQ(lines, readInChunks(report, 64).lines.lines());
    return whole;
}

const std::string kHeader =
        "========================================================\n"
        "== dumpstate: 2023-05-04 10:11:12\n"
        "========================================================\n"
        "\n"
        "Build: x\n"
        "------ UPTIME (uptime) ------\n"
        " 10:11:12 up 0 weeks\n"
        "proc 99\n"
        "------ 0.012s was the duration of 'UPTIME' ------\n";

std::string dump(int pid, const std::string& time) {
    std::string number = std::to_string(pid);
    return "----- pid " + number + " at " + time + " -----\nCmd line: app" + number +
           " -x\n\"main\" prio=5 tid=1 Native\n  | sysTid=" + number + " nice=0\n----- end " +
           number + " -----\n";
}

TEST(BugReportReader, ReadsTheSectionsThatAreWanted) {
    std::string report =
            kHeader +
            "------ PROCESSES AND THREADS (ps -A -T -Z -O pri,nice) ------\n"
            "LABEL USER PID TID PPID VSZ RSS WCHAN ADDR S CMD\n"
            "u:r:x:s0 root 10 11 1 1 1 0 0 S worker 1\n"
            "\n"
            "[ps: 0.039s elapsed]\n"
            "\n"
            "------ BINDER TRANSACTION LOG (/sys/kernel/debug/binder/transaction_log) ------\n"
            "proc 98\n"
            "------ BINDER TRANSACTIONS (/sys/kernel/debug/binder/transactions) ------\n"
            "binder transactions:\n"
            "proc 10\n"
            "  thread 11: l 12 need_return 0 tr 0\n"
            "    outgoing transaction 5: 00 from 10:11 to 20:21 code 3 flags 10 pri 0 r1\n"
            "\n"
            "------ 0.001s was the duration of 'BINDER TRANSACTIONS' ------\n"
            "proc 97\n"
            "------ BINDER STATE (/dev/binderfs/binder_logs/state: 1970-01-01 00:00:01) ------\n"
            "binder state:\n"
            "proc 20\n"
            "  thread 21: l 11 need_return 0 tr 0\n"
            "  thread 22: l 00 need_return 0 tr 0\n"
            "*** state: Timed out after 10.0s (killing pid 7)\n"
            "------ VM TRACES JUST NOW (/data/anr/dumptrace_a: 2023-05-04 10:10:00) ------\n" +
            dump(10, "2001-01-01 00:00:00") +
            "[dump dalvik stack 10: 0.1s elapsed]\n"
            "*** NO ANRs to dump in /data/anr\n"
            "\n"
            "------ VM TRACES AT LAST ANR (/data/anr/anr_1: 2023-05-04 10:11:00) ------\n" +
            dump(30, "2023-05-04 10:10:12.000000000+0200") +
            dump(40, "2023-05-04 10:10:11.999999999+0200") +
            "------ DUMPSYS (dumpsys) ------\n"
            "a line\n" +
            dump(50, "2023-05-04 10:12:12") + "proc 96\n";
    EXPECT_EQ(
            "log 10: 11 complete\n"
            "moment 1683195072\n"
            "pool 20:21 @29\n"
            "dump 10 now threads 1 @33\n"
            "dump 30 now threads 1 @42\n"
            "dump 40 threads 1 @47\n"
            "dump 50 now threads 1 @54\n"
            "note The report says of BINDER STATE: *** state: Timed out after 10.0s (killing pid "
            "7)\n"
            "note The report says of VM TRACES JUST NOW: *** NO ANRs to dump in /data/anr\n"
            "skipped 0\n",
            readReport(report));
    Snapshot snapshot = readInChunks(report, 1000);
    EXPECT_EQ("worker 1", snapshot.names.ofThread({10, 11}));
    EXPECT_EQ("app50 -x", snapshot.names.ofProcess(50));
    EXPECT_EQ("proc 20", snapshot.lineAt({0, 28}));
    EXPECT_EQ("", snapshot.lineAt({0, 8}));
}

TEST(BugReportReader, CopesWithWhatIsNotThere) {
    const std::string kNoLog =
            "note The report has no binder log: its section BINDER TRANSACTIONS is missing or "
            "empty.\n";
    // without a time no other dump is of the log's moment
    EXPECT_EQ("dump 7 threads 1 @2\n" + kNoLog + "skipped 0\n",
              readReport("------ VM TRACES AT LAST ANR (/data/anr/x) ------\n" +
                         dump(7, "2023-05-04 10:11:12")));
    EXPECT_EQ("note The report says of BINDER TRANSACTIONS: *** /sys/x: Permission denied\n" +
                      kNoLog + "skipped 0\n",
              readReport("------ BINDER TRANSACTIONS (/sys/x) ------\r\n"
                         "*** /sys/x: Permission denied\r\n"));
    // the first section that has any content counts
    EXPECT_EQ(
            "log 1: complete\n"
            "note The report has BINDER TRANSACTIONS more than once: only the first was read, not "
            "that below line 4.\n"
            "skipped 0\n",
            readReport("------ BINDER TRANSACTIONS (/sys/x) ------\n"
                       "------ BINDER TRANSACTIONS (/sys/x) ------\n"
                       "proc 1\n"
                       "------ BINDER TRANSACTIONS (/sys/y) ------\n"
                       "proc 2"));
    EXPECT_EQ(kNoLog + "skipped 0\n", readReport("------ BINDER TRANSACTIONS EXTRA (x) ------\n"
                                                 "proc 1\n"
                                                 "------ \n-\n=\n------"));
}

// The same dump stands in the text and in a file, or twice in the text: one is kept.
TEST(BugReportReader, KeepsOneOfTwoCopies) {
    auto report = [](const std::string& second) {
        return kHeader + "------ VM TRACES JUST NOW (/data/anr/x) ------\n" +
               dump(7, "2023-05-04 10:11:12") +
               "------ VM TRACES AT LAST ANR (/data/anr/y) ------\n" + second +
               "------ BINDER TRANSACTIONS (x) ------\nproc 1\n";
    };
    EXPECT_EQ("log 1: complete\nmoment 1683195072\ndump 7 now threads 1 @11\nskipped 0\n",
              readReport(report(dump(7, "2023-05-04 10:11:12"))));
    EXPECT_EQ(
            "log 1: complete\nmoment 1683195072\ndump 7 now threads 1 @11\n"
            "dump 7 now threads 2 @17\nskipped 0\n",
            readReport(report("----- pid 7 at 2023-05-04 10:11:12 -----\n"
                              "\"a\" prio=5 tid=1 Native\n\"b\" prio=5 tid=2 Native\n")))
            << "what differs is no copy";
}

// A length at which the kernel drops the rest, measured in the section alone.
TEST(BugReportReader, MeasuresTheLogAndNothingElse) {
    std::string log = "binder transactions:\nproc 1\n";
    std::string longest = "  buffer 1: 0 size 1:0:0 delivered\n";
    while (log.size() + longest.size() <= 4095) {
        log += longest;
    }
    std::string report = kHeader + "------ BINDER TRANSACTIONS (/sys/x) ------\n" + log +
                         "\n \n*** a remark\n------ 0.1s was the duration of 'x' ------\nmore\n";
    EXPECT_FALSE(readInChunks(report, 512).log->complete);
    size_t line = report.find("proc 1\n");
    report.insert(line, std::string(longest.size() + 1, ' ') + "\n");
    EXPECT_TRUE(readInChunks(report, 512).log->complete) << "it is beyond 4096 now";
}

TEST(BugReportReader, KnowsReports) {
    EXPECT_TRUE(looksLikeBugReport(kHeader));
    EXPECT_TRUE(looksLikeBugReport("cut\n------ BINDER STATE (/sys/x) ------\r\n"));
    for (const char* text : {"", "== dumpstate", "------ x ------\n", " == dumpstate: 2023\n"}) {
        EXPECT_FALSE(looksLikeBugReport(text)) << text;
    }
}

}  // namespace
}  // namespace stallscope
