#include "benchmarks/analysis/ReportGenerator.h"

#include <random>

#include "benchmarks/LogGenerator.h"

namespace stallscope::benchmarks {

namespace {

class Writer {
  public:
    explicit Writer(size_t bytes) : mBytes(bytes) { mText.reserve(bytes + bytes / 8); }

    std::string write(size_t* kept) {
        mText += "========================================================\n"
                 "== dumpstate: 2026-11-21 09:16:56\n"
                 "========================================================\n\n";
        addSystemLog("SYSTEM LOG (logcat -v threadtime -d *:v)", mBytes / 3);
        size_t begin = mText.size();
        addHeading("BINDER TRANSACTIONS (/dev/binderfs/binder_logs/transactions)");
        mText += android::benchmarks::generateLog(4000, true);
        addHeading("VM TRACES JUST NOW (/data/anr/dumptrace_a: 2026-11-21 09:16:57)");
        while (mText.size() - begin < mBytes / 20) {
            addDump();
        }
        *kept = mText.size() - begin;
        addSystemLog("EVENT LOG (logcat -b events -v threadtime -d *:v)", mBytes / 3);
        addSystemLog("DUMPSYS (dumpsys)", mBytes - std::min(mBytes, mText.size()));
        return std::move(mText);
    }

  private:
    int below(int bound) { return static_cast<int>(mRandom() % bound); }

    void addHeading(const std::string& heading) { mText += "------ " + heading + " ------\n"; }

    void addSystemLog(const std::string& heading, size_t bytes) {
        addHeading(heading);
        for (size_t end = mText.size() + bytes; mText.size() < end;) {
            mText += "11-21 09:16:" + std::to_string(10 + below(50)) + ".123 " +
                     std::to_string(1000 + below(9000)) + " " + std::to_string(1000 + below(9000)) +
                     " D ActivityManager: ";
            mText.append(20 + below(120), static_cast<char>('a' + below(26)));
            mText += '\n';
        }
        mText += "------ 0.512s was the duration of '" + heading.substr(0, heading.find(" (")) +
                 "' ------\n";
    }

    void addDump() {
        int pid = mPid += 40;
        mText += "\n----- pid " + std::to_string(pid) +
                 " at 2026-11-21 09:16:57.123456789+0200 -----\nCmd line: com.example.app" +
                 std::to_string(pid) + "\nABI: 'arm64'\n\nDALVIK THREADS (30):\n";
        for (int tid = 1; tid <= 30; ++tid) {
            addThread(pid, tid);
        }
        mText += "----- end " + std::to_string(pid) + " -----\n";
    }

    void addThread(int pid, int tid) {
        mText += "\"Binder:" + std::to_string(pid) + "_" + std::to_string(tid) +
                 "\" prio=5 tid=" + std::to_string(tid) +
                 " Native\n  | group=\"main\" sCount=1 dsCount=0 flags=1 obj=0x12c0 self=0x7a\n"
                 "  | sysTid=" +
                 std::to_string(pid + tid) + " nice=-4 cgrp=default sched=0/0 handle=0x7b\n";
        for (int frame = 0; frame < 4; ++frame) {
            mText += "  native: #0" + std::to_string(frame) +
                     " pc 00000000000d3df2  /system/lib64/libbinder.so "
                     "(android::IPCThreadState::talkWithDriver(bool)+256)\n";
        }
        for (int frame = below(12); frame >= 0; --frame) {
            mText += "  at android.os.Handler.dispatchMessage(Handler.java:" +
                     std::to_string(100 + below(900)) + ")\n";
        }
        mText += '\n';
    }

    std::mt19937 mRandom;  // its default seed
    size_t mBytes;
    int mPid = 1000;
    std::string mText;
};

}  // namespace

std::string generateReport(size_t bytes, size_t* kept) {
    return Writer(bytes).write(kept);
}

}  // namespace stallscope::benchmarks
