#include "benchmarks/LogGenerator.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <random>

namespace android::benchmarks {

namespace {

// Writes sections until the log is long enough.
class Writer {
  public:
    Writer(size_t lines, bool isNewFormat)
          : mLines(lines), mIsNewFormat(isNewFormat), mPid(1000 + static_cast<int>(lines / 10)) {
        mText.reserve(lines * 70);
    }

    std::string write() {
        add("binder transactions:");
        while (mLines > 0) {
            addSection();
        }
        return std::move(mText);
    }

  private:
    int below(int bound) { return static_cast<int>(mRandom() % bound); }

    __attribute__((format(printf, 2, 3))) void add(const char* format, ...) {
        if (mLines == 0) {
            return;
        }
        char line[256];
        va_list values;
        va_start(values, format);
        int size = vsnprintf(line, sizeof(line), format, values);
        va_end(values);
        mText.append(line, size).push_back('\n');
        --mLines;
    }

    void addSection() {
        // The kernel prints the newest process first, and one with several contexts several times.
        mPid = std::max(1, mPid - below(4));
        add("proc %d", mPid);
        add("context binder");
        for (int threads = below(8); threads > 0; --threads) {
            addThread();
        }
        if (below(6) == 0) {
            addNode();
        }
        for (int buffers = below(14); buffers > 0; --buffers) {
            add("  buffer %d: %x size %d:%d:0 %s", nextId(), below(1 << 20), below(4096),
                below(4) * 8, below(2) == 0 ? "active" : "delivered");
        }
    }

    void addThread() {
        int tid = mPid + below(40);
        add("  thread %d: l %d%d need_return 0 tr 0", tid, below(2), below(3));
        if (below(2) == 0) {
            addTransaction("outgoing", mPid, tid, 100 + below(30'000), 100 + below(30'000), "");
            add("    transaction complete");
        }
        if (below(2) == 0) {
            addTransaction("incoming", 100 + below(30'000), 100 + below(30'000), mPid, tid,
                           nodeTail());
        }
    }

    void addNode() {
        add("  node %d: u%016x c%016x hs 1 hw 1 ls %d lw 0 is %d iw %d tr 1 proc %d %d", nextId(),
            below(1 << 30), below(1 << 30), below(9), below(9), below(9), below(30'000),
            below(30'000));
        for (int calls = 1 + below(12); calls > 0; --calls) {
            addTransaction("pending async", 100 + below(30'000), 100 + below(30'000), mPid, 0,
                           nodeTail());
        }
    }

    // binder's print_binder_transaction_ilocked(), and what the vendor's kernels made of it.
    void addTransaction(const char* type, int fromPid, int fromTid, int toPid, int toTid,
                        const char* tail) {
        if (mIsNewFormat) {
            add("    %s transaction %d: %016x from %d:%d to %d:%d code %x flags %d pri 0:120 r1 "
                "elapsed %dms%s",
                type, nextId(), below(1 << 30), fromPid, fromTid, toPid, toTid,
                below(4) == 0 ? below(1 << 30) : below(60), below(2) * 2 + 10, below(100'000),
                tail);
        } else {
            const char* colon = type[0] == 'p' ? "" : ":";
            add("    ZEVO    %s transaction%s from %d:%d to %d:%d code%s %d flags: %d pri 0:120 r1 "
                "duration%s %d.%03d s%s",
                type, colon, fromPid, fromTid, toPid, toTid, colon, below(60), below(2) * 2 + 10,
                colon, below(100), below(1000), tail);
        }
    }

    const char* nodeTail() {
        snprintf(mTail, sizeof(mTail), " node %d size %d:%d offset %x", below(100'000), below(4096),
                 below(4) * 8, below(1 << 20));
        return mTail;
    }

    int nextId() { return mId += 1 + below(3); }

    std::mt19937 mRandom;  // its default seed
    size_t mLines;
    bool mIsNewFormat;
    std::string mText;
    int mPid;
    int mId = 1'000'000;
    char mTail[64];
};

const char* hostileStart(bool isNewFormat) {
    return isNewFormat ? "  outgoing transaction 1: " : "  ZEVO outgoing transaction: ";
}

std::string repeat(const std::string& piece, size_t bytes) {
    std::string text;
    text.reserve(bytes + piece.size());
    while (text.size() < bytes) {
        text += piece;
    }
    return text;
}

}  // namespace

std::string generateLog(size_t lines, bool isNewFormat) {
    return Writer(lines, isNewFormat).write();
}

std::string generateLongLine(size_t bytes, bool isNewFormat) {
    return std::string("proc 1\n") + hostileStart(isNewFormat) +
           repeat("from 1:2 to 3:4 code 5 ", bytes) + "\n";
}

std::string generateFromLines(size_t lines, bool isNewFormat) {
    std::string line = hostileStart(isNewFormat) + repeat("from ", 500) + "\n";
    return "proc 1\n" + repeat(line, lines * line.size());
}

}  // namespace android::benchmarks
