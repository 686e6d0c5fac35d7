#ifndef STALLSCOPE_ANALYSIS_MODEL_THREADID_H
#define STALLSCOPE_ANALYSIS_MODEL_THREADID_H

#include <cstddef>
#include <cstdint>
#include <functional>

namespace stallscope {

// A thread of a process. Tid 0 stands for the process itself: whichever of its threads comes first.
struct ThreadId {
    int pid = 0;
    int tid = 0;

    bool isProcess() const { return tid == 0; }
};

inline bool operator==(ThreadId a, ThreadId b) {
    return a.pid == b.pid && a.tid == b.tid;
}
inline bool operator!=(ThreadId a, ThreadId b) {
    return !(a == b);
}
inline bool operator<(ThreadId a, ThreadId b) {
    return a.pid != b.pid ? a.pid < b.pid : a.tid < b.tid;
}

struct ThreadIdHash {
    size_t operator()(ThreadId id) const {
        uint64_t both = static_cast<uint64_t>(static_cast<uint32_t>(id.pid)) << 32 |
                        static_cast<uint32_t>(id.tid);
        return static_cast<size_t>((both * 0x9e3779b97f4a7c15u) >> 16);
    }
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_THREADID_H
