#include "analysis/input/SettledDumps.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "analysis/input/ThreadDumpReader.h"

namespace stallscope {

namespace {

constexpr int64_t kOneMomentSecs = 60;

bool isWithinMoment(const Moment& one, const Moment& other) {
    int64_t seconds = secondsBetween(one, other);
    int32_t nanoseconds = other.nanoseconds - one.nanoseconds;
    bool isAfter = seconds == kOneMomentSecs && nanoseconds > 0;
    bool isBefore = seconds == -kOneMomentSecs && nanoseconds < 0;
    return seconds >= -kOneMomentSecs && seconds <= kOneMomentSecs && !isAfter && !isBefore;
}

using DumpKey = std::tuple<int, std::string_view, DumpFlavour>;

bool isSameLock(const std::optional<LockWait>& one, const std::optional<LockWait>& other) {
    return one.has_value() == other.has_value() &&
           (!one || (one->object == other->object && one->holderDumpTid == other->holderDumpTid));
}

// Two dumps of one second may still differ, and then both count.
bool isCopy(const ThreadDump& one, const ThreadDump& other) {
    return std::equal(one.threads.begin(), one.threads.end(), other.threads.begin(),
                      other.threads.end(), [](const DumpThread& a, const DumpThread& b) {
                          return a.sysTid == b.sysTid && a.name == b.name && a.state == b.state &&
                                 a.locked.size() == b.locked.size() &&
                                 a.frames.size() == b.frames.size() &&
                                 isSameLock(a.waitsToLock, b.waitsToLock);
                      });
}

}  // namespace

void markDumpsByTime(size_t first, Snapshot* snapshot) {
    for (size_t i = first; i < snapshot->dumps.size(); ++i) {
        ThreadDump& dump = snapshot->dumps[i];
        dump.isOfLogsMoment = snapshot->logMoment && dump.moment &&
                              isWithinMoment(*snapshot->logMoment, *dump.moment);
    }
}

void dropCopiedDumps(Snapshot* snapshot) {
    std::vector<ThreadDump> kept;
    std::map<DumpKey, size_t> indices;
    for (ThreadDump& dump : snapshot->dumps) {
        DumpKey key(dump.pid, dump.time, dump.flavour);
        bool mayBeCopy = dump.pid > 0 && !dump.time.empty();
        auto [entry, isNew] = mayBeCopy ? indices.try_emplace(key, kept.size())
                                        : std::make_pair(indices.end(), true);
        if (isNew || !isCopy(kept[entry->second], dump)) {
            kept.push_back(std::move(dump));
            continue;
        }
        ThreadDump& first = kept[entry->second];
        first.isOfLogsMoment = first.isOfLogsMoment || dump.isOfLogsMoment;
    }
    snapshot->dumps = std::move(kept);
}

}  // namespace stallscope
