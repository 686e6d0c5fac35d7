#include <gtest/gtest.h>

#include "analysis/graph/Analysis.h"
#include "analysis/input/Input.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

std::string textOf(const std::string& log, const TextOptions& options, const char* names = "") {
    Snapshot snapshot;
    EXPECT_EQ("", readText(log, &snapshot));
    snapshot.file = "log.txt";
    snapshot.names.setProcess(20, names, NameOrigin::kGiven);
    return writeText(snapshot, analyze(snapshot), options);
}

TextOptions plain(int height = 40) {
    TextOptions options;
    options.width = 0;
    options.height = height;
    return options;
}

const std::string kCalls = proc(10) + thread(10) + out(1, "10:10", "20:21", 2947) + thread(11) +
                           out(2, "10:11", "10:10", 1200) + proc(20) + thread(21) +
                           in(1, "10:10", "20:21", 2948) + "nonsense\n" +
                           pending(3, "30:30", "20:0", 1000);

// All that wait are in the C library; what for is further down.
TEST(Text, ShowsTheFrameThatTells) {
    EXPECT_NE(std::string::npos,
              textOf(kCalls + "----- pid 20 at 2026-11-22 00:37:45 -----\n"
                              "\"pool\" sysTid=21\n"
                              "  #00 pc 01  /lib/libc.so (pthread_mutex_lock+1)\n"
                              "  #01 pc 02  /lib/libcamera.so (Camera::open+3)\n"
                              "----- end 20 -----\n",
                     plain())
                      .find("owner is not printed, #01 pc 02  /lib/libcamera.so (Camera::open+3)"));
}

TEST(Text, AnswersFirst) {
    EXPECT_EQ(
            R"(camera (20), thread 21, holds up 2 threads in 1 process; longest wait 2.9 s
From log.txt (binder-log, 12 lines)

     who holds up others     threads  processes  longest  doing
  1  camera (20), thread 21  2        1          2.9 s    serving code 3 on node 7 for 2.9 s  [lines 4, 9, 10]

No free binder thread in camera (20) for 1 call, the oldest for 1.0 s  [line 12]

Waiting for camera (20), thread 21
  process 10, thread 10 waits in a call, code 3 on node 7 for 2.9 s  [lines 4, 10]
    process 10, thread 11 waits in a call, code 3 for 1.2 s  [line 6]

1 line could not be read
  [line 11] nonsense
)",
            textOf(kCalls, plain(), "camera"));
    EXPECT_EQ(
            R"(Deadlock: 1 thread in 1 process; it holds up 1 thread in 0 other processes
From log.txt (binder-log, 6 lines)

Deadlock (calls), holds up 1 thread in 0 other processes
  process 10, thread 10  [lines 3, 4]
    waits in a call, code 3 for 2.0 s: served by process 10, thread 10  [line 4]

Waiting for process 10, thread 10
  process 10, thread 11 waits in a call, code 3 for 2.0 s  [line 6]
)",
            textOf(proc(10) + thread(10) + out(1, "10:10", "10:10") + thread(11) +
                           out(2, "10:11", "10:10"),
                   plain()));
    EXPECT_EQ("Nobody waits for longer than 1 s\nFrom log.txt (binder-log, 2 lines)\n",
              textOf(proc(10), plain()));
}

TEST(Text, FitsTheTerminal) {
    TextOptions terminal;
    terminal.width = 30;
    terminal.height = 6;
    terminal.hasColour = true;
    EXPECT_EQ(
            "\x1b[1;31mProcess 20, thread 21, holds …\x1b[0m\n"
            "\x1b[2mFrom log.txt (binder-log, 12 …\x1b[0m\n"
            "\n"
            "\x1b[1m     who holds up others    t…\x1b[0m\n"
            "\x1b[2mThere is more: --all shows it.\x1b[0m\n",
            textOf(kCalls, terminal));
    EXPECT_EQ(0u, textOf(kCalls, plain(), "ca\x1b[2Jm\n\xff").find("ca\uFFFD[2Jm \uFFFD (20)"))
            << "a name can't command the terminal";
}

TEST(Text, WritesDurationsForPeople) {
    struct {
        int64_t milliseconds;
        const char* expected;
    } cases[] = {{kNoTime, ""},          {0, "0 ms"},       {999, "999 ms"},
                 {1000, "1.0 s"},        {2947, "2.9 s"},   {59949, "59.9 s"},
                 {59999, "59.9 s"},      {60000, "1 min"},  {200999, "3 min 20 s"},
                 {7500000, "2 h 5 min"}, {86400000, "1 d"}, {97200000, "1 d 3 h"}};
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, durationText(each.milliseconds)) << each.milliseconds;
    }
}

}  // namespace
}  // namespace stallscope
