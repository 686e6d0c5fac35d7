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
        if (isNew) {
            kept.push_back(std::move(dump));
            continue;
        }
        ThreadDump& first = kept[entry->second];
        bool isOfLogsMoment = first.isOfLogsMoment || dump.isOfLogsMoment;
        if (dump.threads.size() > first.threads.size()) {
            first = std::move(dump);
        }
        first.isOfLogsMoment = isOfLogsMoment;
    }
    snapshot->dumps = std::move(kept);
}

}  // namespace stallscope
