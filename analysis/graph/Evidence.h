#ifndef STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H
#define STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H

#include <vector>

#include "analysis/graph/Adjacency.h"
#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// The lines that statements rest on: sorted, each once, at most kMost of them for a statement.
class Evidence {
  public:
    static constexpr size_t kMost = 100;

    Evidence(const Snapshot& snapshot, const Findings& findings)
          : mSnapshot(snapshot), mFindings(findings), mBackward(Adjacency::backward(findings)) {}

    // Its own lines, those of the longest call, and those of its direct waiters.
    std::vector<Place> of(const RootBlocker& blocker) const;
    std::vector<Place> of(const Deadlock& deadlock) const;
    std::vector<Place> of(const Chain& chain) const;
    std::vector<Place> of(const Wait& wait) const;
    // Its headers and the top lines of its stacks, and its header in a dump.
    std::vector<Place> of(const ThreadNode& thread) const;
    // Of an exhausted pool or a backlog.
    std::vector<Place> ofCalls(const std::vector<int>& calls) const;

  private:
    class Collector;

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    Adjacency mBackward;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H
