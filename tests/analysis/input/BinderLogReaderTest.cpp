#include "analysis/input/BinderLogReader.h"

#include <gtest/gtest.h>

namespace stallscope {
namespace {

struct ReadLog {
    BinderLog log;
    LineCount count;
};

ReadLog readLog(std::string_view text) {
    ReadLog read;
    readBinderLog({text, 0, 1}, &read.log, &read.count);
    return read;
}

// "O 71 155:155>143:159 5f4e5446/10 2898ms n28"
std::string describe(const TransactionLine& line) {
    std::string text(1, "OIPA"[static_cast<int>(line.kind)]);
    auto pair = [](ThreadId id) {
        return std::to_string(id.pid) + (id.tid == kNoTid ? "" : ":" + std::to_string(id.tid));
    };
    char code[32];
    snprintf(code, sizeof(code), " %x/%x", line.code, line.flags);
    text += (line.hasDebugId() ? " " + std::to_string(line.debugId) : "") + " " + pair(line.from) +
            ">" + pair(line.to) + code;
    text += line.timeMs == kNoTime ? "" : " " + std::to_string(line.timeMs) + "ms";
    return text + (line.node == kNoNode ? "" : " n" + std::to_string(line.node));
}

std::string describeOnly(std::string_view line) {
    std::string text = "proc 1\ncontext binder\n  thread 2: l 12 need_return 0 tr 0\n";
    ReadLog read = readLog(text.append(line));
    const BinderLog& log = read.log;
    return !log.frames.empty()    ? describe(log.frames.front())
           : !log.pending.empty() ? describe(log.pending.front().call)
           : read.count.skipped   ? "skipped"
                                  : "ignored";
}

TEST(BinderLogReader, ReadsTheLinesOfEveryKernel) {
    struct {
        const char* line;
        const char* expected;
    } cases[] = {
            // 2010 to 2015
            {"    incoming transaction 8350: d4c1b1a0 from 613:613 to 622:628 code 2 flags 10 pri "
             "0 "
             "r1 node 8345 size 100:0 data e4a00054",
             "I 8350 613:613>622:628 2/10 n8345"},
            // with the pointer hashed, early after boot
            {"    outgoing transaction 7: 00000000(ptrval) from 1:2 to 3:4 code 5f4e5446 flags 10 "
             "pri 0 r1",
             "O 7 1:2>3:4 5f4e5446/10"},
            {"    outgoing transaction 71: 0000000076280f16 from 155:155 to 143:0 code a flags 10 "
             "pri 0 r1 elapsed 2898ms",
             "O 71 155:155>143:0 a/10 2898ms"},
            {"    pending async transaction 9: 00000000df from 0:0 to 8:0 code 1 flags 11 pri "
             "0:120 "
             "a1 r0 elapsed 40ms node 5 size 0:0 offset 18",
             "A 9 0:0>8:0 1/11 40ms n5"},
            {"  pending transaction -9: 00000000df from 7:7 to 8:0 code 1 flags 1 pri -20 a1 r0 "
             "buffer free",
             "P -9 7:7>8:0 1/1"},
            {"ZEVO    outgoing transaction: from 1200:1213 to 1400:1422 code: 1f flags: 10 pri 0 "
             "r1 "
             "duration: 1.250 s",
             "O 1200:1213>1400:1422 1f/10 1250ms"},
            {"ZEVO  pending transaction: from 1:2 to 3:0 code: 1f flags: 11 duration: 12.5s node 4",
             "P 1:2>3:0 1f/11 12500ms n4"},
            {"    ZEVO    pending async transaction from 12:13 to 14:0 code 2 duration 0.5 s",
             "A 12:13>14:0 2/1 500ms"},
            {"    incoming transaction 12: from 5:6 to 7 code 3 flags 10 elapsed 40ms node 9 "
             "size 100:0",
             "I 12 5:6>7 3/10 40ms n9"},
            {"\tincoming transaction 1: 0 from 1:2 to 3:4 code 1 flags 0\r", "I 1 1:2>3:4 1/0"},
            // cut short: what was cut is not taken for a number
            {"    outgoing transaction 1: 0 from 1:2 to 3:4 code 1 flags 10 elapsed 28",
             "O 1 1:2>3:4 "
             "1/10"},
            {"    outgoing transaction 1: 0 from 1:2 to 3:4 code 1 flags 10 duration: 2",
             "O 1 1:2>3:"
             "4 1/10"},
            {"    outgoing transaction 1: 0 from 1:2 to 3:4 code 1", "skipped"},
            {"    outgoing transaction 1: 0 from 1:2 to 3:", "skipped"},
            {"    outgoing transaction 1: 0 from 1:2 to 3:4 code 123456789 flags 10", "skipped"},
            {"    outgoing transaction 1: 0 from 1:99999999999 to 3:4 code 1 flags 10", "skipped"},
            {"    outgoing transactions 1: 0 from 1:2 to 3:4 code 1 flags 10", "skipped"},
            {"    bad transaction 1: 0 from 1:2 to 3:4 code 1 flags 10 pri 0 r1", "ignored"},
            {"    transaction complete", "ignored"},
            {"  buffer 8: 0 size 0:0:0 active", "ignored"},
            {"  ref 5: desc 3 dead node 45 s 1 w 1 d 0", "ignored"},
            {"    node work 5: u00 c00", "ignored"},
            {"    has cleared dead binder", "ignored"},
            {"", "ignored"},
            {"  process 12", "skipped"},
            {"  node x", "skipped"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, describeOnly(each.line)) << each.line;
    }
}

TEST(BinderLogReader, FilesLinesUnderTheirHeaders) {
    ReadLog read = readLog(
            "binder transactions:\n"
            "proc 10\n"
            "  thread 11: l 01\n"
            "    outgoing transaction 1: 0 from 10:11 to 20:0 code 1 flags 10 pri 0 r1\n"
            "    something unknown\n"
            "    incoming transaction 2: 0 from 20:21 to 10:11 code 1 flags 10 pri 0 r1 node 3\n"
            "  thread x: l 01\n"
            "    incoming transaction 3: 0 from 20:21 to 10:11 code 1 flags 10 pri 0 r1 node 3\n"
            "  node 7: u00 c00 hs 1 hw 1 cs 5 cw 0 is 3 iw 3 tr 1 proc 154 146\n"
            "    pending async transaction 4: 0 from 0:0 to 10:0 code 1 flags 11 pri 0 r0\n"
            "proc 10 11\n"
            "  pending transaction 5: 0 from 0:0 to 10:0 code 1 flags 11 pri 0 r0\n"
            "proc 10\n"
            "context hwbinder\n"
            "  thread 11: l 21 need_return false\n"
            "  pending transaction 6: 0 from 0:0 to 10:0 code 1 flags 11 pri 0 r0");
    const BinderLog& log = read.log;
    ASSERT_EQ(2u, log.sections.size());
    EXPECT_EQ("", log.contexts[log.sections[0].context]);
    EXPECT_EQ("hwbinder", log.contexts[log.sections[1].context]);
    ASSERT_EQ(2u, log.threads.size());
    EXPECT_EQ(2u, log.threads[0].frames.size()) << "an unknown line ends nothing";
    EXPECT_EQ(3u, log.threads[0].place.line);
    EXPECT_EQ(0x21u, log.threads[1].looper);
    EXPECT_TRUE(log.threads[1].frames.empty());
    ASSERT_EQ(2u, log.pending.size());
    EXPECT_EQ(7, log.pending[0].headerNode);
    EXPECT_EQ(kNoNode, log.pending[1].headerNode);
    EXPECT_EQ(16u, read.count.lines());
    EXPECT_EQ(5u, read.count.skipped);
    EXPECT_EQ("    something unknown", read.count.examples.front().text);
}

TEST(BinderLogReader, DoubtsLengthsAtWhichTheKernelDropsTheRest) {
    struct {
        uint64_t length;
        uint64_t longest;
        bool isComplete;
    } cases[] = {{4095, 1, false},  {4094, 1, true},    {4096, 100, true}, {8092, 100, false},
                 {8091, 100, true}, {12200, 500, true}, {0, 0, true},      {16383, 2, false}};
    for (const auto& each : cases) {
        EXPECT_EQ(each.isComplete, isCompleteLength(each.length, each.longest)) << each.length;
    }
    std::string line = "  buffer 1: 0 size 0:0:0 active\n";
    std::string text = "binder transactions:\n";
    while (text.size() + line.size() < 4096) {
        text += line;
    }
    EXPECT_FALSE(readLog(text).log.complete);
    EXPECT_TRUE(readLog("binder state:" + text.substr(20)).log.complete) << "is never cut";
}

TEST(BinderLogReader, ReadsPoolThreadsFromTheState) {
    std::string_view text =
            "binder state:\ndead nodes:\n  node 5: u00 c00\nproc 10\ncontext binder\n"
            "  thread 10: l 02 need_return 0 tr 0\n"
            "    outgoing transaction 1: 0 from 10:10 to 20:0 code 1 flags 10 pri 0 r1\n"
            "  thread 11: l 11 need_return 0 tr 0\n  thread 12: l 00 need_return 0 tr 0\n";
    std::vector<PoolThread> threads;
    LineCount count;
    readBinderState({text, 0, 100}, &threads, &count);
    ASSERT_EQ(2u, threads.size());
    EXPECT_EQ((ThreadId{10, 11}), threads[1].id);
    EXPECT_EQ("binder", threads[1].context);
    EXPECT_EQ(107u, threads[1].place.line);
    EXPECT_EQ(0u, count.skipped);
}

TEST(BinderLogReader, KnowsLogs) {
    EXPECT_TRUE(looksLikeBinderLog("* daemon started\r\nbinder transactions:\r\n"));
    EXPECT_TRUE(looksLikeBinderLog("proc 1\n"));
    EXPECT_FALSE(looksLikeBinderLog("process 1\nproc 1 2\nbinder: read\n"));
}

}  // namespace
}  // namespace stallscope
