#include <gtest/gtest.h>

#include "analysis/output/Output.h"
#include "tests/analysis/graph/Describe.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

Snapshot read(const std::string& text) {
    Snapshot snapshot;
    EXPECT_EQ("", readText(text, &snapshot));
    return snapshot;
}

// The movements of all threads and pools: "10:10 stuck 20:20 busy".
std::string movementsOf(const std::string& first, const std::string& second) {
    Snapshot one = read(first);
    Snapshot two = read(second);
    AnalysisOptions options;
    options.second = &two;
    Findings findings = analyze(one, options);
    std::string text;
    for (const ThreadNode& each : findings.threads) {
        text += describe(each.id) + " " + std::string(nameOf(each.movement)) + " ";
    }
    for (const ExhaustedPool& each : findings.exhaustedPools) {
        text += "dry " + std::to_string(each.pid) + " " + std::string(nameOf(each.movement)) + " ";
    }
    return text + (findings.isAnybodyStuck() ? "!" : "");
}

TEST(Looks, TellStuckFromBusy) {
    auto waits = [](int id) { return proc(10) + thread(10) + out(id, "10:10", "20:20"); };
    auto serves = [](int id) { return proc(20) + thread(20, "02") + in(id, "10:10", "20:20"); };
    auto queues = [](int id) { return proc(10) + thread(10) + out(id, "10:10", "20:0"); };
    EXPECT_EQ("10:10 stuck 20:20 stuck !", movementsOf(waits(1) + serves(1), serves(1) + waits(1)));
    EXPECT_EQ("10:10 busy 20:20 busy ", movementsOf(waits(1) + serves(1), waits(2) + serves(2)));
    EXPECT_EQ("10:10 stuck 20:20 busy ", movementsOf(waits(1) + serves(1), waits(1) + serves(2)));
    EXPECT_EQ("10:10 stuck 20:20 stuck !", movementsOf(waits(1), waits(1)))
            << "of a thread that the log does not have those who wait for it tell";
    EXPECT_EQ("10:10 busy 20:20 busy ", movementsOf(waits(1), proc(99)));
    EXPECT_EQ("10:10 stuck 20:0 stuck dry 20 stuck !", movementsOf(queues(1), queues(1)));
    EXPECT_EQ("10:10 busy 20:0 busy dry 20 busy ", movementsOf(queues(1), queues(2)));
    std::string cut = proc(99) + "  buffer 1: " + std::string(4060 - 32, '0') + "\n";
    EXPECT_EQ("10:10 unknown 20:20 unknown !", movementsOf(waits(1), cut));
}

TEST(Looks, AtOneProcessKeepWhatConcernsIt) {
    std::string log = proc(10) + thread(10) + out(1, "10:10", "20:20", 3000) + proc(20) +
                      thread(20) + out(2, "20:20", "30:30", 4000) + proc(40) + thread(40) +
                      out(3, "40:40", "50:50", 9000) + proc(60) + thread(60) +
                      out(4, "60:60", "70:0", 2000);
    Snapshot snapshot = read(log);
    struct {
        int pid;
        const char* answer;
        const char* sentence;
    } cases[] = {
            {10, "30:30 blocks 2/2 4000\n",
             "Process 10, thread 10, waits for process 30, thread 30, for 3.0 s"},
            {30, "30:30 blocks 2/2 4000\n",
             "Process 30, thread 30, holds up 2 threads in 2 processes; longest wait 4.0 s"},
            {60, "70:0 blocks 1/1 2000\ndry 70 1 2000\n",
             "Process 60, thread 60, waits for process 70, for 2.0 s"},
            {80, "", "Nobody in process 80 waits for longer than 1 s"},
    };
    for (const auto& each : cases) {
        AnalysisOptions options;
        options.pid = each.pid;
        Findings findings = analyze(snapshot, options);
        EXPECT_EQ(each.answer, describe(findings));
        EXPECT_EQ(each.sentence, sentenceOf(snapshot, findings));
    }
}

TEST(Looks, FollowChainsToTheirEnds) {
    Snapshot snapshot =
            read(proc(10) + thread(10) + out(1, "10:10", "20:0") + proc(20) + thread(21, "01") +
                 out(2, "20:21", "30:30") + thread(22, "01") + proc(30) + thread(30) +
                 out(3, "30:30", "30:30") + proc(40) + thread(40) + out(4, "40:40", "50:50", 10));
    Findings findings = analyze(snapshot);
    std::string text;
    for (const Chain& chain : findings.chains) {
        for (int each : findings.threadsOf(chain)) {
            text += describe(findings.threads[each].id) + " ";
        }
        text += "end " + std::to_string(chain.end) + "\n";
    }
    EXPECT_EQ("10:10 20:21 30:30 end 0\n", text) << "a deadlock comes before a free thread";
}

}  // namespace
}  // namespace stallscope
