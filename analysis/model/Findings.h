#ifndef STALLSCOPE_ANALYSIS_MODEL_FINDINGS_H
#define STALLSCOPE_ANALYSIS_MODEL_FINDINGS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/model/BinderLog.h"
#include "analysis/model/Place.h"
#include "analysis/model/ThreadDump.h"
#include "analysis/model/ThreadId.h"

namespace stallscope {

// What follows from one Snapshot, which has to outlive it: names are views into it. The sentence,
// the JSON, the picture and the page all come from here. Lists refer to each other by index.

inline constexpr int kNone = -1;  // no index

enum class EdgeType : uint8_t { kServed, kQueued, kLock };
enum class DeadlockKind : uint8_t { kCalls, kLocks, kPool, kMixed };

// What two looks say of a thread: the same call at the top of its stack, or another one.
enum class Movement : uint8_t { kUnknown, kStuck, kBusy };

std::string_view nameOf(EdgeType type);      // "served", "queued", "lock"
std::string_view nameOf(DeadlockKind kind);  // "calls", "locks", "pool", "mixed"
std::string_view nameOf(Movement movement);  // "unknown", "stuck", "busy"

// One call, all of its lines joined.
struct Call {
    int64_t debugId = kNoDebugId;
    ThreadId from;
    ThreadId to;  // as its first line prints it
    uint32_t code = 0;
    uint32_t flags = 0;
    int64_t node = kNoNode;
    int64_t timeMs = kNoTime;  // the largest that any of its lines prints
    IndexRange places;         // in Findings::callPlaces: all of its lines
};

// Why a thread waits: one call or one lock. Served and lock lead to one thread, queued to all
// threads of a pool (or to the process itself where none is known).
struct Wait {
    int thread = kNone;  // who waits, in Findings::threads
    EdgeType type = EdgeType::kServed;
    int target = kNone;  // in Findings::threads; kNone with a pool
    int pool = kNone;    // in Findings::pools
    int call = kNone;    // in Findings::calls; kNone for a lock
    // For a lock, all in the Snapshot: what is waited for, who holds it, and the dump that says so.
    const LockWait* lock = nullptr;
    const DumpThread* holder = nullptr;
    const ThreadDump* dump = nullptr;
    // The waiting thread or the holder has moved on by the log's account: dump and log are apart.
    bool isDoubtful = false;
};

// The threads of a process that serve one context, as far as somebody waits for one of them.
struct Pool {
    int pid = 0;
    std::string_view context;
    std::vector<int> threads;  // in Findings::threads; the process itself if none is known
};

// A thread (or, with tid 0, a process) that waits or that somebody waits for.
struct ThreadNode {
    ThreadId id;
    std::string_view process;  // names; empty when they are not known
    std::string_view name;
    IndexRange waits;         // in Findings::waits
    IndexRange stacks;        // in Findings::stacks
    int serving = kNone;      // the incoming call at the top of a stack
    int waitingCall = kNone;  // the longest that it waits in; a parked one if there is no other
    // Its stack, of the log's moment if there is one, and the section that this stands in.
    const DumpThread* dump = nullptr;
    const ThreadDump* dumpSection = nullptr;
    Movement movement = Movement::kUnknown;
    // The first step to the end that it waits for: a wait of this thread and the thread that this
    // leads to; kNone at an end. Of several ends the one that stands first in Findings::ends, by
    // the shortest way.
    int nextWait = kNone;
    int nextThread = kNone;
    int end = kNone;  // in Findings::ends; kNone when its waits lead nowhere
};

struct RootBlocker {
    int thread = kNone;  // in Findings::threads
    uint64_t blockedThreads = 0;
    uint64_t blockedProcesses = 0;
    int64_t longestWaitMs = kNoTime;
    int longestCall = kNone;  // the call that takes this long
    bool isProbable = false;  // rests on a doubtful lock wait
    bool isShort = false;     // below the threshold: not to be reported
};

struct Deadlock {
    DeadlockKind kind = DeadlockKind::kCalls;
    std::vector<int> members;  // in Findings::threads, along the cycle, the smallest first
    std::vector<int> waits;    // in Findings::waits: all of all members, in their order
    uint64_t blockedThreads = 0;
    uint64_t blockedProcesses = 0;
    bool isProbable = false;
};

// Where waits end: a deadlock or a root blocker.
struct End {
    int deadlock = kNone;
    int rootBlocker = kNone;
};

// From a thread that waits and that nobody waits for to its end, by ThreadNode::nextThread. A
// deadlock's chain stops at its first member. Ends below the threshold have none.
struct Chain {
    static constexpr int kLongest = 256;

    int first = kNone;  // in Findings::threads
    int end = kNone;
    int length = 0;      // in threads: at least two, at most kLongest
    bool isCut = false;  // goes on behind the last of these threads
};

struct ExhaustedPool {
    int pid = 0;
    std::string_view process;
    uint64_t queued = 0;
    int64_t oldestMs = kNoTime;
    bool isShort = false;
    Movement movement = Movement::kUnknown;
    std::vector<int> calls;  // in Findings::calls
};

struct OnewayBacklog {
    int pid = 0;
    std::string_view process;
    int64_t node = kNoNode;
    uint64_t queued = 0;
    int64_t oldestMs = kNoTime;
    bool isShort = false;
    std::vector<int> calls;
};

struct Findings {
    std::vector<ThreadNode> threads;  // by id
    std::vector<Wait> waits;          // by thread
    std::vector<Pool> pools;          // by pid and context
    std::vector<uint32_t> stacks;     // by thread: its headers, in BinderLog::threads
    std::vector<Call> calls;
    std::vector<Place> callPlaces;  // by call

    std::vector<Deadlock> deadlocks;        // most blocked threads first
    std::vector<RootBlocker> rootBlockers;  // ranked, those that are short behind the others
    std::vector<End> ends;                  // deadlocks, then root blockers
    std::vector<Chain> chains;              // by end, longest first
    std::vector<ExhaustedPool> exhaustedPools;
    std::vector<OnewayBacklog> onewayBacklogs;

    int64_t thresholdMs = 0;
    int pid = 0;                // only what concerns this process is kept; 0: everything
    std::string_view process;   // its name
    bool hasTimes = false;      // at least one line of the log prints how long a call takes
    bool isSecondLook = false;  // threads' `movement` is known

    // True when somebody waits who won't be served soon: what the exit status 1 says.
    bool isAnybodyStuck() const;
    // The threads of a chain, from the one that waits on.
    std::vector<int> threadsOf(const Chain& chain) const;
    // The threads that a wait leads to.
    const int* targetsOf(const Wait& wait, size_t* count) const;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_FINDINGS_H
