#include <gtest/gtest.h>

#include "tests/analysis/graph/Describe.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

std::string section(int pid, const std::string& threads,
                    const std::string& time = "2026-11-21 09:16:56") {
    std::string number = std::to_string(pid);
    return "----- pid " + number + " at " + time + " -----\nCmd line: app" + number + "\n\n" +
           threads + "----- end " + number + " -----\n";
}

std::string art(int dumpTid, int sysTid, const std::string& lock = {}) {
    return "\"T" + std::to_string(dumpTid) + "\" prio=5 tid=" + std::to_string(dumpTid) +
           (lock.empty() ? " Native\n" : " Blocked\n") + "  | sysTid=" + std::to_string(sysTid) +
           " nice=0\n  at a.B.c(B.java:1)\n" + (lock.empty() ? "" : "  " + lock + "\n") + "\n";
}

// A thread that waits for what the thread with this `tid=` holds.
std::string artWaiter(int dumpTid, int sysTid, int holder) {
    return art(dumpTid, sysTid,
               "- waiting to lock <0x0abc> (a T) held by thread " + std::to_string(holder));
}

std::string hotSpot(const std::string& name, int sysTid, const std::string& lines,
                    const std::string& state = "waiting for monitor entry") {
    char nid[32];
    snprintf(nid, sizeof(nid), "0x%x", sysTid);
    return "\"" + name + "\" #1 prio=5 os_prio=0 tid=0x00007f00 nid=" + nid + " " + state +
           " [0x00007f01]\n" + "\tat a.B.c(B.java:1)\n" + lines + "\n";
}

std::string report(const std::string& sections) {
    return "== dumpstate: 2026-11-21 09:17:00\n" + sections;
}

std::string titled(const std::string& title, const std::string& text) {
    return "------ " + title + " (/x/y: 2026-11-21 09:17:00) ------\n" + text + "\n";
}

TEST(Locks, LeadToTheirHolders) {
    struct {
        const char* what;
        std::string text;
        const char* expected;
    } cases[] = {
            {"by the dump's own numbers", section(10, artWaiter(1, 10, 2) + art(2, 12)),
             "10:12 blocks 1/0 -\n"},
            {"a holder that is not in the dump, or has no number, or is not named",
             section(10, artWaiter(1, 10, 3) + art(2, 12, "- waiting to lock <0x0abc> (a T)")), ""},
            {"around", section(10, artWaiter(1, 11, 2) + artWaiter(2, 10, 1)),
             "locks 10:10>10:11 blocks 0/0\n"},
            {"a thread that waits in a call has no lock edge, not even a parked one",
             proc(10) + thread(10) + out(1, "10:10", "20:20") + thread(11) +
                     out(2, "10:11", "20:20", 2000, "code 5f434d44 flags 10") +
                     section(10, artWaiter(1, 10, 3) + artWaiter(2, 11, 3) + art(3, 13)),
             "20:20 blocks 1/1 2000\n"},
            {"a lock and a call",
             proc(10) + thread(10) + out(1, "10:10", "20:21", 900) + proc(20) + thread(21) +
                     in(1, "10:10", "20:21", 900) + thread(22) + out(2, "20:22", "10:11", 800) +
                     proc(10, "hwbinder") + thread(11) + in(2, "20:22", "10:11", 800) +
                     section(10, artWaiter(1, 11, 2) + art(2, 10)) +
                     section(20, artWaiter(1, 21, 2) + art(2, 22)),
             "mixed 10:10>20:21>20:22>10:11 blocks 0/0\n"},
            {"HotSpot: who has it locked and does not wait on it",
             section(10, "Full thread dump OpenJDK 64-Bit Server VM (17.0.1+12 mixed mode):\n\n" +
                                 hotSpot("a", 11, "\t- waiting to lock <0x01> (a T)\n") +
                                 hotSpot("b", 12,
                                         "\t- waiting on <0x01> (a T)\n\tat x.Y.z(Y.java:1)\n"
                                         "\t- locked <0x01> (a T)\n",
                                         "in Object.wait()") +
                                 hotSpot("c", 13, "\t- locked <0x01> (a T)\n")),
             "10:13 blocks 1/0 -\n"},
            {"HotSpot: the owner of a synchronizer",
             section(10, "Full thread dump OpenJDK 64-Bit Server VM (17.0.1+12 mixed mode):\n\n" +
                                 hotSpot("a", 11, "\t- parking to wait for  <0x02> (a L)\n") +
                                 hotSpot("b", 12,
                                         "\n   Locked ownable synchronizers:\n\t- <0x02> (a L)\n")),
             "10:12 blocks 1/0 -\n"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, answerTo(each.text)) << each.what;
    }
}

TEST(Locks, OfAReportCountAtItsOwnMomentAlone) {
    std::string log =
            titled("BINDER TRANSACTIONS", "binder transactions:\n" + proc(20) + thread(20) +
                                                  out(1, "20:20", "10:10", 1500));
    std::string dump = artWaiter(1, 10, 2) + art(2, 12);
    auto traces = [&](const char* title, const char* time) {
        return report(log + titled(title, section(10, dump, time)));
    };
    const char* joined = "10:12 blocks 2/1 1500\n";
    const char* apart = "10:10 blocks 1/1 1500\n";
    EXPECT_EQ(joined, answerTo(traces("VM TRACES JUST NOW", "2026-11-21 09:16:59")));
    EXPECT_EQ(joined, answerTo(traces("VM TRACES AT LAST ANR", "2026-11-21 09:16:00")));
    EXPECT_EQ(apart, answerTo(traces("VM TRACES AT LAST ANR", "2026-11-21 09:15:59")));
}

TEST(Locks, AreDoubtedWhenTheLogHasMovedOn) {
    auto answer = [](const std::string& header) {
        return answerTo(report(
                titled("VM TRACES JUST NOW", section(10, artWaiter(1, 10, 2) + artWaiter(2, 12, 1) +
                                                                 artWaiter(3, 13, 1))) +
                titled("BINDER TRANSACTIONS", "binder transactions:\n" + proc(10) + header)));
    };
    EXPECT_EQ("locks 10:10>10:12 blocks 1/0\n", answer(thread(10, "02")));
    EXPECT_EQ("locks 10:10>10:12 blocks 1/0 probably\n", answer(thread(12, "11")))
            << "it has gone back to the pool";
    EXPECT_EQ("locks 10:10>10:12 blocks 1/0 probably\n",
              answer(thread(12, "02") + in(1, "20:20", "10:12", 3999)))
            << "it took this call up after the dump";
    EXPECT_EQ("locks 10:10>10:12 blocks 1/0\n",
              answer(thread(12, "02") + in(1, "20:20", "10:12", 4000)));
}

TEST(Locks, AReportsStateCompletesThePools) {
    std::string log = titled("BINDER TRANSACTIONS", "binder transactions:\n" + proc(10) +
                                                            thread(10) + out(1, "10:10", "20:0"));
    std::string state = titled("BINDER STATE", "binder state:\n" + proc(20) + thread(21, "11") +
                                                       out(9, "20:21", "30:30") + proc(20, "vnd") +
                                                       thread(22, "11"));
    EXPECT_EQ("20:21 blocks 1/1 2000\ndry 20 1 2000\n", answerTo(report(log + state)));
}

}  // namespace
}  // namespace stallscope
