#include "analysis/input/ProcessListReader.h"

#include <gtest/gtest.h>

#include <string>

namespace stallscope {
namespace {

struct Case {
    const char* text;
    std::vector<std::pair<ThreadId, const char*>> names;  // tid 0: the process
    uint64_t skipped = 0;
};

const Case kCases[] = {
        // toolbox, with a row that has no wait channel, and with threads
        {"USER     PID   PPID  VSIZE  RSS     WCHAN    PC         NAME\n"
         "root      1     0     268    180   c009b74c 0000875c S /init\n"
         "app_15    200   37    9000   180            afd0c51c R com.a b\n"
         "app_15    201   200   9000   180   ffffffff afd0c51c S Binder Thread #\n"
         "root      3     2     0      0\n",
         {{{1, 0}, "/init"}, {{200, 0}, "com.a b"}, {{200, 201}, "Binder Thread #"}, {{3, 0}, ""}},
         1},
        {"USER     PID   PPID  VSIZE  RSS  PRIO  NICE  RTPRI SCHED  PCY WCHAN              PC  "
         "NAME\n"
         "radio     155   1     8000   1000  20    0     0     0     fg  binder_thr 00000000 S "
         "/system/bin/rild\n",
         {{{155, 0}, "/system/bin/rild"}}},
        // toybox: the process name, and the thread's
        {"\nUSER           PID  PPID     VSZ    RSS WCHAN            ADDR S NAME                   "
         "    \n"
         "root             1     0   10624   2000 SyS_epoll_wait      0 S init\n"
         "u0_a12        1234     1 1062400  20000 0                   0 R com.a:remote\r\n",
         {{{1, 0}, "init"}, {{1234, 0}, "com.a:remote"}}},
        {"LABEL               USER     PID   TID  PPID     VSZ    RSS WCHAN  ADDR S PRI  NI RTPRIO "
         "SCH PCY     TIME CMD\n"
         "u:r:system_server:s0 system 1300  1300   600 4562400 200000 ep_poll   0 S  19  -2      - "
         "  0  fg 00:01:02 system_server\n"
         "u:r:system_server:s0 system 1300  1320   600 4562400 200000 binder    0 S  19  -2      - "
         "  0  fg 1-00:01:02 pool 1 thread\n"
         "u:r:system_server:s0 system 1300  x 600\n",
         {{{1300, 0}, "system_server"},
          {{1300, 1300}, "system_server"},
          {{1300, 1320}, "pool 1 thread"}},
         1},
        // a desk's, and two lists behind one another
        {"UID          PID    PPID  C STIME TTY          TIME CMD\n"
         "root           7       1  0 Nov21 ?        00:00:00 /usr/lib/jvm/bin/java -cp . Main\n"
         "    PID USER     TIME  COMMAND\n"
         "      8 root      0:00 [kworker/0:0]\n",
         {{{7, 0}, "/usr/lib/jvm/bin/java"}, {{8, 0}, "[kworker/0:0]"}}},
};

TEST(ProcessListReader, ReadsEveryGeneration) {
    for (const Case& each : kCases) {
        Names names;
        LineCount count;
        std::string_view text = each.text;
        readProcessList({text, 0, 1}, &names, &count);
        for (const auto& [id, name] : each.names) {
            EXPECT_EQ(name, id.isProcess() ? names.ofProcess(id.pid) : names.ofThread(id))
                    << id.pid << ":" << id.tid << text;
        }
        EXPECT_EQ(each.skipped, count.skipped) << text;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count.lines()) << text;
        EXPECT_TRUE(looksLikeProcessList(text)) << text;
    }
    EXPECT_FALSE(looksLikeProcessList("binder transactions:\nUSER PID NAME\n"));
}

TEST(ProcessListReader, TrustsNamesBySource) {
    Names names;
    LineCount count;
    readProcessList({"USER PID TID PPID S CMD\nroot 5 5 1 S ndroid.systemui\n", 0, 1}, &names,
                    &count);
    names.setProcess(5, "com.android.systemui", NameOrigin::kDump);
    EXPECT_EQ("com.android.systemui", names.ofProcess(5));
    readProcessList({"USER PID PPID S NAME\nroot 5 1 S its own\n", 0, 1}, &names, &count);
    EXPECT_EQ("its own", names.ofProcess(5));
}

}  // namespace
}  // namespace stallscope
