#ifndef STALLSCOPE_ANALYSIS_MODEL_THREADDUMP_H
#define STALLSCOPE_ANALYSIS_MODEL_THREADDUMP_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "analysis/model/Place.h"

namespace stallscope {

// All texts here are views into Snapshot::texts.

enum class DumpFlavour : uint8_t { kDalvik, kArt, kHotSpot, kNative };

struct StackFrame {
    std::string_view text;  // "at a.b.C.d(C.java:12)" or "#00 pc 000d3df2  /lib/libc.so (x+8)"
    Place place;
};

// A line that names a lock: its text between "<" and ">", and of which class.
struct LockLine {
    std::string_view object;
    std::string_view type;
    Place place;
};

// The lock that a thread is blocked on, and all that the dump says about who holds it.
struct LockWait : LockLine {
    int holderDumpTid = 0;        // "held by thread 12", "held by threadid=9": the holder's `tid=`
    std::string_view holderName;  // "(Thread-10)", `held by "Thread-10"`
    // Waits for an owner of java.util.concurrent ("parking to wait for"): held by who `owns` it.
    bool isSynchronizer = false;
};

struct DumpThread {
    std::string_view name;   // up to the line's last quote
    int dumpTid = 0;         // the dump's own `tid=`; 0: none
    int sysTid = 0;          // the kernel's and the log's: `sysTid=`, `nid=`; 0: none
    std::string_view state;  // "MONITOR", "Blocked", "waiting for monitor entry"
    bool isDaemon = false;
    bool isAttached = true;
    std::vector<StackFrame> frames;  // top first
    std::optional<LockWait> waitsToLock;
    std::vector<LockLine> locked;   // "- locked"
    std::vector<LockLine> waitsOn;  // "- waiting on", "- sleeping on": given up while it waits
    std::vector<LockLine> owns;     // "Locked ownable synchronizers"
    // Blocked in a native mutex (by its frames), whose owner no dump prints.
    bool waitsForMutex = false;
    Place place;  // of its header; its other lines follow up to lastLine
    uint32_t lastLine = 0;
};

// Seconds and nanoseconds of a printed date and time, comparable with each other and nothing else:
// a printed zone offset is taken off, a missing one is not made up.
struct Moment {
    int64_t seconds = 0;
    int32_t nanoseconds = 0;
    std::optional<int32_t> zoneSeconds;  // as printed: "+0200" is 7200
};

// One process's section: "----- pid N at TIME -----" up to "----- end N -----".
struct ThreadDump {
    int pid = 0;            // 0: not printed
    std::string_view time;  // as printed
    std::optional<Moment> moment;
    std::string_view cmdLine;
    DumpFlavour flavour = DumpFlavour::kArt;
    // Only these give lock edges: "VM TRACES JUST NOW", within 60 s of the report, or no report.
    bool isOfLogsMoment = true;
    std::vector<DumpThread> threads;
    Place place;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_THREADDUMP_H
