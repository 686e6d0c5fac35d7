#ifndef STALLSCOPE_ANALYSIS_GRAPH_ADJACENCY_H
#define STALLSCOPE_ANALYSIS_GRAPH_ADJACENCY_H

#include <cstdint>
#include <vector>

#include "analysis/model/Findings.h"

namespace stallscope {

// The wait graph as lists of neighbours. Its vertices are the threads and, behind them, the pools:
// a queued call leads to its pool and the pool to each of its threads, so that a thousand calls
// for a hundred threads are eleven hundred edges. Who reaches whom is the same as without pools.
class Adjacency {
  public:
    struct Step {
        int vertex = kNone;
        int wait = kNone;  // in Findings::waits; kNone between a pool and its threads
    };
    struct Steps {
        const Step* first = nullptr;
        const Step* last = nullptr;

        const Step* begin() const { return first; }
        const Step* end() const { return last; }
        size_t size() const { return last - first; }
        const Step& operator[](size_t i) const { return first[i]; }
    };

    // From those who wait to those they wait for, or the other way round.
    static Adjacency forward(const Findings& findings) { return {findings, true}; }
    static Adjacency backward(const Findings& findings) { return {findings, false}; }

    int size() const { return static_cast<int>(mOffsets.size()) - 1; }
    bool isPool(int vertex) const { return vertex >= mThreads; }
    Steps from(int vertex) const {
        return {mSteps.data() + mOffsets[vertex], mSteps.data() + mOffsets[vertex + 1]};
    }

  private:
    Adjacency(const Findings& findings, bool isForward);

    int mThreads = 0;
    std::vector<uint32_t> mOffsets;
    std::vector<Step> mSteps;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_ADJACENCY_H
