#ifndef STALLSCOPE_ANALYSIS_MODEL_BINDERLOG_H
#define STALLSCOPE_ANALYSIS_MODEL_BINDERLOG_H

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "analysis/model/Place.h"
#include "analysis/model/ThreadId.h"

namespace stallscope {

inline constexpr int64_t kNoTime = -1;
inline constexpr int64_t kNoNode = -1;
inline constexpr int64_t kNoDebugId = std::numeric_limits<int64_t>::min();  // the vendor's form
inline constexpr int kNoTid = -1;  // a receiver without a thread number: the driver in Rust

// "SC_M": shells stay parked in calls with this code for days.
inline constexpr uint32_t kParkedCode = 0x5f434d44;

enum class LineKind : uint8_t { kOutgoing, kIncoming, kPending, kPendingAsync };

// One transaction line, whatever kernel wrote it.
struct TransactionLine {
    int64_t debugId = kNoDebugId;
    int64_t timeMs = kNoTime;
    int64_t node = kNoNode;
    ThreadId from;
    ThreadId to;  // tid 0: taken by no thread yet; kNoTid: not printed; 0:0: the receiver has gone
    uint32_t code = 0;
    uint32_t flags = 0;
    Place place;
    LineKind kind = LineKind::kOutgoing;

    bool isOneWay() const { return (flags & 1) != 0; }
    bool hasDebugId() const { return debugId != kNoDebugId; }
};

// A half-open range of indices into one of the log's lists.
struct IndexRange {
    uint32_t begin = 0;
    uint32_t end = 0;

    bool empty() const { return begin == end; }
    uint32_t size() const { return end - begin; }
};

// A thread header with the call stack below it. A thread may have one in each context.
struct BinderThread {
    int tid = 0;
    uint32_t looper = 0;
    uint32_t section = 0;  // in BinderLog::sections
    IndexRange frames;     // in BinderLog::frames, top first
    Place place;

    bool isPoolThread() const { return (looper & 3) != 0; }  // registered or entered
};

// A call that waits in a section for a thread.
struct PendingCall {
    TransactionLine call;
    uint32_t section = 0;
    int64_t headerNode = kNoNode;  // of the `node` header above it in the section
};

// A `proc` header and what stands below it. A process has one for each of its contexts.
struct BinderSection {
    int pid = 0;
    uint32_t context = 0;  // in BinderLog::contexts
    IndexRange threads;    // in BinderLog::threads
    Place place;
};

// The kernel's binder log: flat lists in file order, without any conclusion.
struct BinderLog {
    std::vector<std::string> contexts = {""};  // the first is that of logs without `context` lines
    std::vector<BinderSection> sections;
    std::vector<BinderThread> threads;
    std::vector<TransactionLine> frames;
    std::vector<PendingCall> pending;
    bool hasVendorForm = false;  // at least one transaction line is ZEVO's
    bool hasRustForm = false;    // at least one receiver is printed without a thread
    // False when the text's length is one at which the kernel drops the rest without a word.
    bool complete = true;

    int pidOf(const BinderThread& thread) const { return sections[thread.section].pid; }
    ThreadId idOf(const BinderThread& thread) const { return {pidOf(thread), thread.tid}; }
};

// A thread that serves calls, by a report's BINDER STATE. Nothing else of that section counts.
struct PoolThread {
    ThreadId id;
    std::string context;
    Place place;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_BINDERLOG_H
