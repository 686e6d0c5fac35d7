#include "analysis/graph/CallTable.h"

#include <algorithm>
#include <unordered_map>

#include "analysis/graph/FlatIndex.h"

namespace stallscope {

namespace {

struct Ends {
    ThreadId from;
    ThreadId to;
};

bool operator==(Ends a, Ends b) {
    return a.from == b.from && a.to == b.to;
}

struct EndsHash {
    size_t operator()(Ends ends) const {
        return ThreadIdHash()(ends.from) * 31 + ThreadIdHash()(ends.to);
    }
};

class Joiner {
  public:
    Joiner(size_t lines, CallTable* table) : mIds(lines), mTable(table) {
        mTable->calls.reserve(lines);
    }

    int add(const TransactionLine& line) {
        int index = callOf(line);
        Call& call = mTable->calls[index];
        call.timeMs = std::max(call.timeMs, line.timeMs);
        if (call.node == kNoNode) {
            call.node = line.node;
        }
        ++call.places.end;  // their number, until the places are filed
        if (line.kind == LineKind::kIncoming || line.to.tid > 0) {
            mTable->isTaken[index] = true;
        }
        mTable->hasTimes = mTable->hasTimes || line.timeMs != kNoTime;
        return index;
    }

  private:
    int callOf(const TransactionLine& line) {
        int index = kNone;
        if (line.hasDebugId()) {
            int number = mIds.add(static_cast<uint64_t>(line.debugId));
            if (static_cast<size_t>(number) == mCallOfId.size()) {
                mCallOfId.push_back(kNone);
            }
            index = claim(&mCallOfId[number]);
        } else if (isQueuedEnd(line)) {
            index = claim(&mCallOfEnds.try_emplace({line.from, line.to}, kNone).first->second);
        } else {
            index = static_cast<int>(mTable->calls.size());
        }
        if (static_cast<size_t>(index) == mTable->calls.size()) {
            mTable->calls.push_back({line.debugId,
                                     line.from,
                                     line.to,
                                     line.code,
                                     line.flags,
                                     line.node,
                                     kNoTime,
                                     {}});
            mTable->isTaken.push_back(false);
        }
        return index;
    }

    // The call that the slot names; the next new one if it names none.
    int claim(int* slot) {
        if (*slot == kNone) {
            *slot = static_cast<int>(mTable->calls.size());
        }
        return *slot;
    }

    static bool isQueuedEnd(const TransactionLine& line) {
        return line.kind != LineKind::kIncoming && !line.isOneWay() && isToProcess(line);
    }

    FlatIndex mIds;
    std::vector<int> mCallOfId;
    std::unordered_map<Ends, int, EndsHash> mCallOfEnds;
    CallTable* mTable;
};

// From the number of each call's places to their range, with the list still to be filled.
void layOutPlaces(CallTable* table) {
    uint32_t next = 0;
    for (Call& each : table->calls) {
        uint32_t count = each.places.end;
        each.places = {next, next};
        next += count;
    }
    table->places.resize(next);
}

}  // namespace

CallTable joinCalls(const BinderLog& log) {
    CallTable table;
    Joiner joiner(log.frames.size() + log.pending.size(), &table);
    table.ofFrame.reserve(log.frames.size());
    table.ofPending.reserve(log.pending.size());
    for (const TransactionLine& each : log.frames) {
        table.ofFrame.push_back(joiner.add(each));
    }
    for (const PendingCall& each : log.pending) {
        table.ofPending.push_back(joiner.add(each.call));
    }
    layOutPlaces(&table);
    auto file = [&table](int call, Place place) {
        table.places[table.calls[call].places.end++] = place;
    };
    for (size_t i = 0; i < log.frames.size(); ++i) {
        file(table.ofFrame[i], log.frames[i].place);
    }
    for (size_t i = 0; i < log.pending.size(); ++i) {
        file(table.ofPending[i], log.pending[i].call.place);
    }
    return table;
}

}  // namespace stallscope
