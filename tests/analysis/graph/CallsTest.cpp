#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/analysis/graph/Describe.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

struct Case {
    const char* what;
    std::string log;
    const char* expected;
};

void check(const std::vector<Case>& cases) {
    for (const Case& each : cases) {
        EXPECT_EQ(each.expected, answerTo(each.log)) << each.what;
    }
}

std::string readSample(const std::string& name) {
    // Relative in a platform's build, which puts it beside the program.
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    std::ifstream file(program.parent_path() / STALLSCOPE_TEST_DATA / name);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(Calls, SaysWhoHoldsUpTheStagedServices) {
    EXPECT_EQ(
            "143:152 blocks 3/3 2947\n147:147 blocks 2/2 2897\n147:150 blocks 2/2 2789\n"
            "143:143 blocks 1/1 2906\n143:159 blocks 1/1 2899\n145:145 blocks 1/1 2898\n"
            "dry 147 1 2728\nbacklog 145/7 2 2580\n",
            answerTo(readSample("transactions-6.12.txt")));
    EXPECT_EQ(
            "94:94 blocks 3/3 -\n98:98 blocks 3/3 -\n94:102 blocks 1/1 -\n94:110 blocks 1/1 -\n"
            "96:96 blocks 1/1 -\ndry 98 2 -\nbacklog 96/7 2 -\n",
            answerTo(readSample("transactions-6.1.txt")));
    EXPECT_EQ("mixed 263:269>264:305>264:270>263:308 blocks 2/1\n",
              answerTo(readSample("staged-lock-call.txt")));
}

TEST(Calls, FollowsTheTopOfAStackAlone) {
    check({{"served by a thread that the log does not have",
            proc(10) + thread(10) + out(1, "10:10", "20:21"), "20:21 blocks 1/1 2000\n"},
           {"a callback: both are at work for the other, and only one waits",
            proc(10) + thread(10) + in(2, "20:20", "10:10") + out(1, "10:10", "20:20", 3000) +
                    proc(20) + thread(20) + out(2, "20:20", "10:10") +
                    in(1, "10:10", "20:20", 3000),
            "10:10 blocks 1/1 2000\n"},
           {"an unknown line is no top",
            proc(10) + thread(10) + "    bad transaction 4: 0 from 1:2 to 3:4 code 1 flags 10\n" +
                    pending(9, "20:20", "10:10") + out(1, "10:10", "20:21"),
            "20:21 blocks 1/1 2000\n"},
           {"a one-way call is nobody's wait",
            proc(10) + thread(10) + out(1, "10:10", "20:21", 2000, "code 3 flags 11"), ""},
           {"the receiver has gone", proc(10) + thread(10) + out(1, "10:10", "0:0"), ""},
           {"a shell is parked, and those who wait for it are not",
            proc(10) + thread(10) + out(1, "10:10", "20:20", 9000, "code 5f434d44 flags 10") +
                    proc(30) + thread(30) + out(2, "30:30", "10:10"),
            "10:10 blocks 1/1 2000\n"},
           {"one stack in each context, and one of them waits",
            proc(10, "hwbinder") + thread(10) + in(1, "20:20", "10:10") + proc(10) + thread(10) +
                    out(2, "10:10", "30:30"),
            "30:30 blocks 1/1 2000\n"},
           {"two stacks that both wait",
            proc(10, "hwbinder") + thread(10) + out(1, "10:10", "20:20", 5000) + proc(10) +
                    thread(10) + out(2, "10:10", "30:30"),
            "20:20 blocks 1/1 5000\n30:30 blocks 1/1 5000\n"},
           {"a wait is as long as its thread's longest call, without receiver as well, but not "
            "parked",
            proc(10, "hwbinder") + thread(10) + out(1, "10:10", "0:0", 5000) + thread(11) +
                    out(2, "10:11", "20:20", 9000, "code 5f434d44 flags 10") + proc(10) +
                    thread(10) + out(3, "10:10", "30:30") + thread(11) + out(4, "10:11", "30:31"),
            "30:30 blocks 1/1 5000\n30:31 blocks 1/1 2000\n"},
           {"below the threshold or of unknown time",
            proc(10) + thread(10) + out(1, "10:10", "20:20", 999) + thread(11) +
                    out(2, "10:11", "20:21", 1000) + thread(12) + out(3, "10:12", "20:22", -1),
            "20:21 blocks 1/1 1000\n20:22 blocks 1/1 -\n"},
           {"the time of a call is the largest of its lines",
            proc(10) + thread(10) + out(1, "10:10", "20:20", -1) + proc(20) + thread(20) +
                    in(1, "10:10", "20:20", 1500),
            "20:20 blocks 1/1 1500\n"},
           {"a process counts once, the blocker's own never",
            proc(10) + thread(10) + out(1, "10:10", "20:20") + thread(11) +
                    out(2, "10:11", "20:20") + proc(20) + thread(21) + out(3, "20:21", "20:20"),
            "20:20 blocks 3/1 2000\n"}});
}

TEST(Calls, QueuesForAllThreadsOfThePool) {
    std::string queued = proc(10) + thread(10) + out(1, "10:10", "20:0");
    check({{"nobody is known to serve", queued, "20:0 blocks 1/1 2000\ndry 20 1 2000\n"},
           {"registered, entered, and neither of them",
            queued + proc(20) + thread(21, "01") + thread(22, "02") + thread(23, "10"),
            "20:21 blocks 1/1 2000\n20:22 blocks 1/1 2000\ndry 20 1 2000\n"},
           {"the pool of another context does not serve it",
            queued + proc(20, "hwbinder") + thread(21, "12"),
            "20:0 blocks 1/1 2000\ndry 20 1 2000\n"},
           {"both ends of a call are one, and the pending end alone is none's wait",
            queued + proc(20) + pending(1, "10:10", "20:0", 2500) +
                    pending(2, "30:30", "20:0", 500),
            "20:0 blocks 1/1 2500\ndry 20 2 2500\n"},
           {"taken meanwhile: the wait follows the waiting end, the pool is not dry",
            queued + proc(20) + thread(21) + in(1, "10:10", "20:21") + thread(22),
            "20:21 blocks 1/1 2000\n20:22 blocks 1/1 2000\n"},
           {"replies, orphans and one-way calls are no queue",
            proc(20) + pending(1, "0:0", "20:0") + pending(2, "9:9", "20:21") +
                    pending(3, "9:9", "20:0", 2000, "code 3 flags 11"),
            "backlog 20/7 1 2000\n"},
           {"a free thread beside a cycle: nobody is locked for good",
            proc(10) + thread(11) + out(1, "10:11", "20:0") + thread(12) + out(2, "10:12", "20:0") +
                    proc(20) + thread(21) + out(3, "20:21", "10:11") + thread(22),
            "20:22 blocks 3/1 2000\ndry 20 2 2000\n"}});
}

TEST(Calls, FindsDeadlocks) {
    check({{"two threads",
            proc(10) + thread(10) + out(1, "10:10", "20:20") + proc(20) + thread(20) +
                    out(2, "20:20", "10:10") + proc(30) + thread(30) + out(3, "30:30", "20:20"),
            "calls 10:10>20:20 blocks 1/1\n"},
           {"along the cycle, whatever the order of the numbers, short as it may be",
            proc(10) + thread(10) + out(1, "10:10", "30:30", 1) + proc(20) + thread(20) +
                    out(2, "20:20", "10:10", 1) + proc(30) + thread(30) +
                    out(3, "30:30", "20:20", 1),
            "calls 10:10>30:30>20:20 blocks 0/0\n"},
           {"for itself",
            proc(10) + thread(10) + out(1, "10:10", "10:10") + thread(11) +
                    out(2, "10:11", "10:10"),
            "calls 10:10 blocks 1/0\n"},
           {"through both pools",
            proc(10) + thread(11) + out(1, "10:11", "20:0") + thread(12) + out(2, "10:12", "20:0") +
                    proc(20) + thread(21) + out(3, "20:21", "10:0") + thread(30, "10") +
                    out(4, "20:30", "10:0"),
            "pool 10:11>20:21>10:12 blocks 1/0\ndry 10 2 2000\ndry 20 2 2000\n"},
           {"a second call leads out of it",
            proc(10) + thread(10) + out(1, "10:10", "20:20") + proc(20) + thread(20) +
                    out(2, "20:20", "10:10") + proc(20, "hwbinder") + thread(20) +
                    out(3, "20:20", "30:30"),
            "30:30 blocks 2/2 2000\n"},
           {"two of them, and one who waits for both",
            proc(10) + thread(10) + out(1, "10:10", "10:10") + thread(11) +
                    out(2, "10:11", "10:11") + proc(20) + thread(20) + out(3, "20:20", "10:0"),
            "calls 10:10 blocks 1/1\ncalls 10:11 blocks 1/1\ndry 10 1 2000\n"}});
}

TEST(Calls, FindsTheReceiverOfADriverThatPrintsNone) {
    auto rust = [](const char* kind, int id, const char* from, const char* to, bool isReply) {
        return "    " + std::string(kind) + " transaction " + std::to_string(id) + ": from " +
               from + " to " + to + " code 3 flags 10 elapsed 2000ms" + (isReply ? "" : " node 9") +
               " size 100:0\n";
    };
    std::string waiting = proc(5) + "  thread 6: l 12 need_return false\n" +
                          rust("outgoing", 12, "5:6", "7", false) + "\n";
    check({{"neither end", waiting, "7:0 blocks 1/1 2000\n"},
           {"incoming", waiting + proc(7) + thread(8) + rust("incoming", 12, "5:6", "7", false),
            "7:8 blocks 1/1 2000\n"},
           {"incoming and pending, of another process as well",
            waiting + proc(9) + thread(9) + rust("incoming", 12, "5:6", "9", false) + proc(7) +
                    rust("pending", 12, "5:6", "7", false) + thread(8, "02"),
            "7:8 blocks 1/1 2000\n"},
           {"pending",
            waiting + proc(7) + thread(8, "02") + thread(9, "01") +
                    rust("pending", 12, "5:6", "7", false),
            "7:8 blocks 1/1 2000\n7:9 blocks 1/1 2000\ndry 7 1 2000\n"},
           {"a reply has no node", proc(5) + thread(6) + rust("pending", 13, "7:8", "5", true),
            ""}});
}

TEST(Calls, JoinsTheVendorsQueuedCallsByTheirEnds) {
    auto vendor = [](const char* kind, const char* ends, const char* duration) {
        return "ZEVO    " + std::string(kind) + " transaction: " + ends +
               " code: 3 flags: 10 pri 0 r1 duration: " + duration + " s\n";
    };
    check({{"queued: one call",
            proc(10) + thread(10) + vendor("outgoing", "from 10:10 to 20:0", "1.250") + proc(20) +
                    vendor("pending", "from 10:10 to 20:0", "1.500"),
            "20:0 blocks 1/1 1500\ndry 20 1 1500\n"},
           {"served: each end has its own time",
            proc(10) + thread(10) + vendor("outgoing", "from 10:10 to 20:20", "1.250") + proc(20) +
                    thread(20) + vendor("incoming", "from 10:10 to 20:20", "1.500"),
            "20:20 blocks 1/1 1250\n"},
           {"one-way calls from one sender are as many as there are",
            proc(20) + "  node 5: u00 c00\n" +
                    "ZEVO    pending async transaction: from 0:0 to 20:0 code: 3 flags: 11\n" +
                    "ZEVO    pending async transaction: from 0:0 to 20:0 code: 3 flags: 11\n",
            "backlog 20/5 2 -\n"}});
}

TEST(Calls, CountsOneWayCallsByNode) {
    auto oneWay = [](int id, const char* node, int ms, const char* kind) {
        return call(kind, id, "0:0", "20:0", ms, "code 3 flags 11") + node + "\n";
    };
    EXPECT_EQ(
            "backlog 20/5 3 4000\nbacklog 20/9 1 3000\n",
            answerTo(proc(20) + "  node 5: u00 c00\n" +
                     oneWay(1, " node 5", 1000, "pending async") +
                     oneWay(2, " buffer free", 4000, "pending async") +
                     oneWay(3, " node 9", 3000, "pending") + oneWay(3, " node 9", 3000, "pending") +
                     oneWay(4, " node 5", 500, "pending") + oneWay(5, " node 6", 500, "pending") +
                     pending(6, "0:0", "20:0", 5000, "code 3 flags 10", "pending async")));
}

}  // namespace
}  // namespace stallscope
