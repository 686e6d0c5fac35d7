#ifndef STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H
#define STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H

#include <vector>

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// The lines that a statement rests on, sorted, each once, at most this many: a blocker's own lines
// and those of its direct waiters come before others.
inline constexpr size_t kMostEvidence = 100;

std::vector<Place> evidenceOf(const Snapshot& snapshot, const Findings& findings,
                              const RootBlocker& blocker);
std::vector<Place> evidenceOf(const Snapshot& snapshot, const Findings& findings,
                              const Deadlock& deadlock);
std::vector<Place> evidenceOf(const Snapshot& snapshot, const Findings& findings, const Wait& wait);
std::vector<Place> evidenceOf(const Snapshot& snapshot, const Findings& findings,
                              const Chain& chain);
// A thread's headers and the top lines of its stacks, and its header in a dump.
std::vector<Place> evidenceOf(const Snapshot& snapshot, const Findings& findings,
                              const ThreadNode& thread);
// Of an exhausted pool or a backlog.
std::vector<Place> evidenceOf(const Findings& findings, const std::vector<int>& calls);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_EVIDENCE_H
