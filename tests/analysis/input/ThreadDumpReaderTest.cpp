#include "analysis/input/ThreadDumpReader.h"

#include <gtest/gtest.h>

#include <string>

namespace stallscope {
namespace {

using Dumps = std::vector<ThreadDump>;

std::string quoted(std::string_view text) {
    return text.empty() ? "" : " '" + std::string(text) + "'";
}

std::string describe(std::string_view what, const std::vector<LockLine>& locks) {
    std::string text;
    for (const LockLine& each : locks) {
        text += " " + std::string(what) + " " + std::string(each.object) + quoted(each.type);
    }
    return text;
}

std::string describe(const LockWait& wait) {
    std::string text = " waits " + std::string(wait.object) + quoted(wait.type);
    if (wait.holderDumpTid != 0) {
        text += " of " + std::to_string(wait.holderDumpTid) + quoted(wait.holderName);
    }
    return text + (wait.isSynchronizer ? " sync" : "");
}

std::string describe(const DumpThread& thread) {
    std::string text = "[" + std::string(thread.name) + "]";
    text += " " + std::to_string(thread.dumpTid) + "/" + std::to_string(thread.sysTid);
    text += quoted(thread.state) + (thread.isDaemon ? " daemon" : "");
    text += thread.isAttached ? "" : " unattached";
    text += " @" + std::to_string(thread.place.line) + "-" + std::to_string(thread.lastLine);
    for (const StackFrame& each : thread.frames) {
        text += quoted(each.text);
    }
    text += thread.waitsToLock ? describe(*thread.waitsToLock) : "";
    text += describe("locked", thread.locked) + describe("on", thread.waitsOn) +
            describe("owns", thread.owns);
    return text + (thread.waitsForMutex ? " mutex" : "") + "\n";
}

std::string describe(const Dumps& dumps) {
    constexpr const char* kFlavours[] = {"Dalvik", "ART", "HotSpot", "native"};
    std::string text;
    for (const ThreadDump& each : dumps) {
        text += std::string(kFlavours[static_cast<int>(each.flavour)]) + " " +
                std::to_string(each.pid) + quoted(each.time) + quoted(each.cmdLine) + "\n";
        for (const DumpThread& thread : each.threads) {
            text += describe(thread);
        }
    }
    return text;
}

struct Case {
    const char* name;
    const char* text;
    const char* dumps;
    uint64_t skipped = 0;
};

const Case kCases[] = {
        {"Dalvik",
         "\n\n----- pid 613 at 2012-03-04 05:06:07 -----\n"
         "Cmd line: system_server\n"
         "\n"
         "DALVIK THREADS:\n"
         "(mutexes: tll=0 tsl=0 tscl=0 ghl=0 hwl=0 hwll=0)\n"
         "\"main\" prio=5 tid=1 MONITOR\n"
         "  | group=\"main\" sCount=1 dsCount=0 obj=0x400281b8 self=0xcee8\n"
         "  | sysTid=613 nice=0 sched=0/0 cgrp=default handle=-1345006528\n"
         "  at com.a.B.c(B.java:~12)\n"
         "  - waiting to lock <0x406a29f8> (a java.lang.Object) held by threadid=9 (Thread (10))\n"
         "  at dalvik.system.NativeStart.main(Native Method)\n"
         "\n"
         "\"Thread (10)\" daemon prio=5 tid=9 TIMED_WAIT JIT\n"
         "  | sysTid=640 nice=0 sched=0/0 cgrp=default handle=1\n"
         "  #00  pc 0000d12c  /system/lib/libc.so (__futex_syscall3+8)\n"
         "  - waiting on <0x40a1> (a java.lang.VMThread) held by tid=9 (Thread (10))\n"
         "\"Binder Thread #1\" prio=5 tid=10 MONITOR\n"
         "  | sysTid=641 nice=0\n"
         "  - waiting to lock <0x40c0> (a a.B) held by ???\n"
         "----- end 613 -----\n",
         "Dalvik 613 '2012-03-04 05:06:07' 'system_server'\n"
         "[main] 1/613 'MONITOR' @8-13 'at com.a.B.c(B.java:~12)'"
         " 'at dalvik.system.NativeStart.main(Native Method)'"
         " waits 0x406a29f8 'java.lang.Object' of 9 'Thread (10)'\n"
         "[Thread (10)] 9/640 'TIMED_WAIT JIT' daemon @15-18"
         " '#00  pc 0000d12c  /system/lib/libc.so (__futex_syscall3+8)'"
         " on 0x40a1 'java.lang.VMThread'\n"
         "[Binder Thread #1] 10/641 'MONITOR' @19-21 waits 0x40c0 'a.B'\n"},
        {"Art",
         "Subject: Input dispatching timed out\n"
         "----- pid 1234 at 2023-05-04 10:11:12.123456789+0200 -----\n"
         "Cmd line: com.example.app\n"
         "Build fingerprint: 'x'\n"
         "#0 dalvik.system.PathClassLoader: [], parent #1\n"
         "suspend all histogram:\tSum: 161us\n"
         "DALVIK THREADS (5):\n"
         "\"main\" prio=5 tid=1 Blocked\n"
         "  | group=\"main sysTid=7\" sCount=1 ucsCount=0 flags=1 obj=0x72 self=0xb4\n"
         "  | sysTid=1234 nice=-10 cgrp=top-app sched=0/0 handle=0xf3\n"
         "  | held mutexes=\n"
         "  at a.B.c(B.java:1)\n"
         "  - waiting to lock <0x0abc> (a java.lang.Class<a.B<a.C>>) held by thread 12\n"
         "  ... repeated 3 times\n"
         "  - locked <@addr=0x12c0> (a java.lang.Object)\n"
         "  - locked an unknown object\n"
         "\n"
         "\"a\" prio=5 tid=3\" daemon prio=5 tid=12 Native\n"
         "  | sysTid=1240 nice=0\n"
         "  kernel: __switch_to+0x74/0x98\n"
         "  native: #00 pc 0007f2d8  /apex/libc.so (syscall+28)\n"
         "  native: #01 pc 0008  /apex/libart.so (art::Mutex::ExclusiveLock(art::Thread*)+148)\n"
         "  native: (backtrace::Unwind failed)\n"
         "  (no managed stack frames)\n"
         "  - sleeping on <0x05> (a java.lang.Object)\n"
         "\n"
         "\"hwuiTask0\" prio=5 (not attached)\n"
         "  | sysTid=1300 nice=0 cgrp=default\n"
         "\"x\" prio=5 tid=14 Blocked\n"
         "  - waiting to lock an unknown object held by thread 12\n"
         "----- end 1234 -----\n"
         "\n"
         "----- Waiting Channels: pid 1234 at 2023-05-04 10:11:13 -----\n"
         "Cmd line: com.example.app\n"
         "sysTid=1234      futex_wait_queue_me\n"
         "----- end 1234 -----\n",
         "ART 1234 '2023-05-04 10:11:12.123456789+0200' 'com.example.app'\n"
         "[main] 1/1234 'Blocked' @8-16 'at a.B.c(B.java:1)'"
         " waits 0x0abc 'java.lang.Class<a.B<a.C>>' of 12 locked @addr=0x12c0 'java.lang.Object'\n"
         "[a\" prio=5 tid=3] 12/1240 'Native' daemon @18-25"
         " '#00 pc 0007f2d8  /apex/libc.so (syscall+28)'"
         " '#01 pc 0008  /apex/libart.so (art::Mutex::ExclusiveLock(art::Thread*)+148)'"
         " on 0x05 'java.lang.Object' mutex\n"
         "[hwuiTask0] 0/1300 unattached @27-28\n"
         "[x] 14/0 'Blocked' @29-30 waits  of 12\n"},
        {"HotSpot",
         "1428:\n"
         "2026-11-21 21:18:39\n"
         "Full thread dump OpenJDK 64-Bit Server VM (17 mixed mode):\n"
         "\n"
         "_java_thread_list=0x1, length=2, elements={\n"
         "0x1, 0x2\n"
         "}\n"
         "\n"
         "\"A\" #12 [11] prio=5 os_prio=0 cpu=0.3ms tid=0x7f01 nid=0xb in Object.wait()  [0x1]\n"
         "   java.lang.Thread.State: BLOCKED (on object monitor)\n"
         "\tat java.lang.Object.wait(Native Method)\n"
         "\t- waiting on <0x1> (a java.lang.Object)\n"
         "\t- locked <0x1> (a java.lang.Object)\n"
         "\n"
         "   Locked ownable synchronizers:\n"
         "\t- <0x8> (a java.util.concurrent.locks.ReentrantLock$FairSync)\n"
         "\n"
         "\"B\n"
         "b\" #13 daemon prio=5 os_prio=0 tid=0x7f02 nid=12 waiting on condition  [0x2]\n"
         "   java.lang.Thread.State: WAITING (parking)\n"
         "\t- parking to wait for  <0x8> (a java.util.concurrent.locks.ReentrantLock$FairSync)\n"
         "\t- waiting on <no object reference available>\n"
         "\n"
         "\"C\" #14 prio=5 tid=0x7f03 nid=0xd waiting on condition [0x3]\n"
         "\t- parking to wait for  <0x9> (a x.AbstractQueuedSynchronizer$ConditionObject)\n"
         "\t- waiting to re-lock in wait() <0x2> (a java.lang.Object)\n"
         "\n"
         "\"VM Thread\" os_prio=0 tid=0x7f04 nid=0xe runnable  \n"
         "\n"
         "JNI global refs: 4, weak refs: 0\n"
         "\n"
         "Heap\n"
         " garbage-first heap   total 1K\n",
         "HotSpot 1428 '2026-11-21 21:18:39'\n"
         "[A] 0/11 'in Object.wait()' @9-16 'at java.lang.Object.wait(Native Method)'"
         " waits 0x1 'java.lang.Object' locked 0x1 'java.lang.Object' on 0x1 'java.lang.Object'"
         " owns 0x8 'java.util.concurrent.locks.ReentrantLock$FairSync'\n"
         "[B\nb] 0/12 'waiting on condition' daemon @18-22"
         " waits 0x8 'java.util.concurrent.locks.ReentrantLock$FairSync' sync\n"
         "[C] 0/13 'waiting on condition' @24-26 waits 0x2 'java.lang.Object'"
         " on 0x9 'x.AbstractQueuedSynchronizer$ConditionObject' on 0x2 'java.lang.Object'\n"
         "[VM Thread] 0/14 'runnable' @28-28\n"},
        {"HotSpotDeadlockSummary",
         "----- pid 9 at 2026-11-21 21:18:39 -----\n"
         "Cmd line: java Main\n"
         "ABI: 'x86_64'\n"
         "\n"
         "2026-11-21 21:18:39\n"
         "Full thread dump OpenJDK\n"
         "\"P\" #1 prio=5 tid=0x1 nid=0xa waiting on condition [0x1]\n"
         "\t- parking to wait for  <0x8> (a S)\n"
         "\"P\" #2 prio=5 tid=0x2 nid=0xb waiting on condition [0x1]\n"
         "\t- parking to wait for  <0x9> (a S)\n"
         "\"Q\" #3 prio=5 tid=0x3 nid=0xc waiting on condition [0x1]\n"
         "\t- parking to wait for  <0xa> (a S)\n"
         "\n"
         "Found one Java-level deadlock:\n"
         "=============================\n"
         "\"P\":\n"
         "  waiting for ownable synchronizer 0x9, (a S),\n"
         "  which is held by \"Q\"\n"
         "\n"
         "\"Q\":\n"
         "  waiting for ownable synchronizer 0xa, (a S),\n"
         "  which is held by \"P\"\n"
         "\n"
         "Java stack information for the threads listed above:\n"
         "===================================================\n"
         "\"P\":\n"
         "\t- parking to wait for  <0x9> (a S)\n"
         "\n"
         "Found 1 deadlock.\n"
         "\n"
         "----- end 9 -----\n",
         "HotSpot 9 '2026-11-21 21:18:39' 'java Main'\n"
         "[P] 0/10 'waiting on condition' @7-8 waits 0x8 'S' sync\n"
         "[P] 0/11 'waiting on condition' @9-10 waits 0x9 'S' sync owns 0xa\n"
         "[Q] 0/12 'waiting on condition' @11-12 waits 0xa 'S' sync owns 0x9\n"},
        {"NativeSectionsBehindBinderInfo",
         "Binder Info:\n"
         "outgoing transaction from 153:153(a) to 146:151(b)\n"
         "\n\n"
         "----- pid 335 at 2026-11-21 09:16:56 -----\r\n"
         "Cmd line: /vendor/bin/provider -x\r\n"
         "ABI: 'x86_64'\r\n"
         "\r\n"
         "\"provider\" sysTid=335\r\n"
         "  #00 pc 0000d3df2  /usr/lib/libc.so.6 (pause+50)\r\n"
         "\r\n"
         "\"a \"b\" sysTid=336\n"
         "  #00 pc 01  /lib/libc.so (offset 0x1000) (syscall+28) (BuildId: 01)\n"
         "  #01 pc 02  /lib/libc.so (NonPI::MutexLockWithTimeout(pthread_mutex_internal_t*)+1)\n"
         "  (did not stop in time; wait channel: 0)\n"
         "\n"
         "----- end 335 -----\n"
         "[dump native stack 335: 0.1s elapsed]\n"
         "----- pid 335 at 2026-11-21 09:17:56 -----\n"
         "\"provider\" sysTid=335\n",
         "native 335 '2026-11-21 09:16:56' '/vendor/bin/provider -x'\n"
         "[provider] 0/335 @9-10 '#00 pc 0000d3df2  /usr/lib/libc.so.6 (pause+50)'\n"
         "[a \"b] 0/336 @12-15"
         " '#00 pc 01  /lib/libc.so (offset 0x1000) (syscall+28) (BuildId: 01)'"
         " '#01 pc 02  /lib/libc.so (NonPI::MutexLockWithTimeout(pthread_mutex_internal_t*)+1)'"
         " mutex\n"
         "native 335 '2026-11-21 09:17:56'\n"
         "[provider] 0/335 @20-20\n"},
        {"Damage",
         "\"begins\" prio=5 tid=2 Blocked\n"
         "  | sysTid=21 nice=0\n"
         "  - waiting to lo\n"
         "----- pid 7x at 2026-11-21 09:17:56 -----\n"
         "  - locked <0x1> (a A)\n"
         "----- pid 8 at 2026-11\n"
         "\"main\" prio=5 tid=1 Blocked\n"
         "\"Binder_1\" pr\n"
         "  - waiting to lock <0x1> (a A) held by thread 2\n"
         "\"x\n"
         "rubbish\n"
         "  - locked <0x1\n"
         "\"y\" prio=5 tid=3 Bloc",
         "ART 0\n"
         "[begins] 2/21 'Blocked' @1-3\n"
         "ART 8 '2026-11'\n"
         "[main] 1/0 'Blocked' @7-7\n"
         "[y] 3/0 'Bloc' @13-13\n",
         8},
};

TEST(ThreadDumpReader, ReadsEveryKind) {
    for (const Case& each : kCases) {
        Dumps dumps;
        LineCount count;
        std::string_view text = each.text;
        readThreadDumps({text, 3, 1}, &dumps, &count);
        EXPECT_EQ(each.dumps, describe(dumps)) << each.name;
        EXPECT_EQ(each.skipped, count.skipped) << each.name;
        uint64_t lines = std::count(text.begin(), text.end(), '\n') + (text.back() != '\n');
        EXPECT_EQ(lines, count.lines()) << each.name;
        EXPECT_TRUE(looksLikeThreadDump(text)) << each.name;
    }
}

TEST(ThreadDumpReader, KnowsNoOtherText) {
    for (const char* text : {"", "\n", "binder transactions:\nproc 12\n", "\"name\": 1\n",
                             "------ UPTIME (uptime) ------\n"}) {
        EXPECT_FALSE(looksLikeThreadDump(text)) << text;
    }
}

}  // namespace
}  // namespace stallscope
