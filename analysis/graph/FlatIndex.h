#ifndef STALLSCOPE_ANALYSIS_GRAPH_FLATINDEX_H
#define STALLSCOPE_ANALYSIS_GRAPH_FLATINDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/model/Findings.h"

namespace stallscope {

// Numbers keys in the order in which they come, from 0 on. Open addressing: logs have a million
// calls, and a node of memory for each would take longer than reading them.
class FlatIndex {
  public:
    explicit FlatIndex(size_t expected = 0) { resize(expected); }

    // The key's number, a new one if need be.
    int add(uint64_t key) {
        if (mKeys.size() * 2 >= mSlots.size()) {
            resize(mKeys.size() * 2);
        }
        int& slot = mSlots[slotOf(key)];
        if (slot == kNone) {
            slot = static_cast<int>(mKeys.size());
            mKeys.push_back(key);
        }
        return slot;
    }
    // kNone when it was never added.
    int find(uint64_t key) const { return mSlots[slotOf(key)]; }

    size_t size() const { return mKeys.size(); }
    const std::vector<uint64_t>& keys() const { return mKeys; }

  private:
    size_t slotOf(uint64_t key) const {
        size_t slot = static_cast<size_t>((key * 0x9e3779b97f4a7c15u) >> mShift);
        while (mSlots[slot] != kNone && mKeys[mSlots[slot]] != key) {
            slot = (slot + 1) & (mSlots.size() - 1);
        }
        return slot;
    }

    void resize(size_t expected) {
        size_t size = 16;
        mShift = 60;
        while (size < expected * 2) {
            size *= 2;
            --mShift;
        }
        mSlots.assign(size, kNone);
        for (size_t i = 0; i < mKeys.size(); ++i) {
            mSlots[slotOf(mKeys[i])] = static_cast<int>(i);
        }
    }

    std::vector<int> mSlots;  // a power of two of them
    std::vector<uint64_t> mKeys;
    int mShift = 0;
};

inline uint64_t keyOf(ThreadId id) {
    return static_cast<uint64_t>(static_cast<uint32_t>(id.pid)) << 32 |
           static_cast<uint32_t>(id.tid);
}

inline ThreadId idOfKey(uint64_t key) {
    return {static_cast<int>(key >> 32), static_cast<int>(static_cast<uint32_t>(key))};
}

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_FLATINDEX_H
