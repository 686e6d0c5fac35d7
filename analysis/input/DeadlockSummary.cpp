#include "analysis/input/DeadlockSummary.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kHeading = "Found one Java-level deadlock";
constexpr std::string_view kSynchronizer = "waiting for ownable synchronizer ";
constexpr std::string_view kMonitor = "waiting to lock monitor ";
constexpr std::string_view kHolder = "which is held by \"";
constexpr std::string_view kStacks = "Java stack information for the threads listed above";
constexpr std::string_view kEnd = "Found ";

}  // namespace

bool DeadlockSummary::isHeading(std::string_view line) {
    return beginsWith(line, kHeading);
}

// HotSpot's DeadlockCycle::print_on_with():
//   "L1":
//     waiting for ownable synchronizer 0x000000069ec197b8, (a java.util.concurrent.locks.X$Sync),
//     which is held by "L2"
bool DeadlockSummary::read(std::string_view line, Place place) {
    if (isHeading(line) || beginsWith(line, kStacks)) {
        mHasStacks = !isHeading(line);
        return false;
    }
    if (mHasStacks) {
        mIsOver = beginsWith(line, kEnd);
        return false;
    }
    std::string_view rest = line;
    if (beginsWith(line, "\"") && takeSuffix(&rest, "\":") && !rest.empty()) {
        mWaiter = rest.substr(1);
        mLock = {};
        return true;
    }
    if (beginsWith(line, kMonitor)) {
        mLock = {};
    } else if (beginsWith(line, kSynchronizer)) {
        rest.remove_prefix(kSynchronizer.size());
        mLock.object = rest.substr(0, std::min(rest.find(','), rest.size()));
        mLock.place = place;
        return true;
    } else if (beginsWith(line, kHolder) && takeSuffix(&rest, "\"") &&
               rest.size() > kHolder.size() && !mLock.object.empty()) {
        mEntries.push_back({mWaiter, rest.substr(kHolder.size()), mLock});
        return true;
    }
    return false;
}

// Threads of pools often have one name between them: then it is the one that waits for what this
// summary says of the owner.
class DeadlockSummary::Owners {
  public:
    Owners(const std::vector<Entry>& entries, ThreadDump* dump) {
        for (const Entry& each : entries) {
            mWaits.try_emplace(each.waiter, each.lock.object);
        }
        for (DumpThread& each : dump->threads) {
            if (auto [entry, isNew] = mByName.try_emplace(each.name, &each); !isNew) {
                entry->second = nullptr;
            }
            if (each.waitsToLock) {
                mByWait.try_emplace({each.name, each.waitsToLock->object}, &each);
            }
        }
    }

    DumpThread* find(std::string_view name) const {
        if (auto wait = mWaits.find(name); wait != mWaits.end()) {
            if (auto found = mByWait.find({name, wait->second}); found != mByWait.end()) {
                return found->second;
            }
        }
        auto found = mByName.find(name);
        return found == mByName.end() ? nullptr : found->second;
    }

  private:
    std::map<std::string_view, std::string_view> mWaits;
    std::map<std::string_view, DumpThread*> mByName;  // null for a name that several threads have
    std::map<std::pair<std::string_view, std::string_view>, DumpThread*> mByWait;
};

void DeadlockSummary::apply(ThreadDump* dump) {
    if (!mEntries.empty()) {
        std::set<std::string_view> owned;
        for (const DumpThread& thread : dump->threads) {
            for (const LockLine& each : thread.owns) {
                owned.insert(each.object);
            }
        }
        Owners owners(mEntries, dump);
        for (const Entry& each : mEntries) {
            DumpThread* owner = owners.find(each.owner);
            if (owner != nullptr && owned.insert(each.lock.object).second) {
                owner->owns.push_back(each.lock);
            }
        }
    }
    *this = {};
}

}  // namespace stallscope
