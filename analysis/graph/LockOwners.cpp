#include "analysis/graph/LockOwners.h"

#include <algorithm>

namespace stallscope {

namespace {

// A thread in Object.wait() still prints the monitor that it gave up as locked, and so does one
// that waits to have it back.
bool isWaitingOn(const DumpThread& thread, std::string_view object) {
    bool hasGivenUp = std::any_of(thread.waitsOn.begin(), thread.waitsOn.end(),
                                  [=](const LockLine& each) { return each.object == object; });
    return hasGivenUp || (thread.waitsToLock && thread.waitsToLock->object == object);
}

}  // namespace

LockOwners::LockOwners(const ThreadDump& dump) : mIsHotSpot(dump.flavour == DumpFlavour::kHotSpot) {
    for (const DumpThread& each : dump.threads) {
        if (each.dumpTid > 0) {
            mByDumpTid.try_emplace(each.dumpTid, &each);
        }
        for (const LockLine& lock : each.locked) {
            if (mIsHotSpot && !isWaitingOn(each, lock.object)) {
                mByLocked.try_emplace(lock.object, &each);
            }
        }
        for (const LockLine& lock : each.owns) {
            mByOwned.try_emplace(lock.object, &each);
        }
        if (auto [entry, isNew] = mByName.try_emplace(each.name, &each); !isNew) {
            entry->second = nullptr;
        }
    }
}

const DumpThread* LockOwners::holderOf(const DumpThread& waiter) const {
    const LockWait& wait = *waiter.waitsToLock;
    const DumpThread* holder = nullptr;
    if (wait.holderDumpTid > 0) {
        auto found = mByDumpTid.find(wait.holderDumpTid);
        holder = found == mByDumpTid.end() ? nullptr : found->second;
    } else if (wait.isSynchronizer) {
        holder = find(mByOwned, wait.object);
    } else if (mIsHotSpot) {
        holder = find(mByLocked, wait.object);
    }
    if (holder == nullptr && wait.holderDumpTid == 0 && !wait.holderName.empty()) {
        holder = find(mByName, wait.holderName);
    }
    return holder != nullptr && holder->sysTid > 0 ? holder : nullptr;
}

const DumpThread* LockOwners::find(const ByText& index, std::string_view text) {
    auto found = index.find(text);
    return found == index.end() ? nullptr : found->second;
}

}  // namespace stallscope
