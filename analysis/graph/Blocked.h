#ifndef STALLSCOPE_ANALYSIS_GRAPH_BLOCKED_H
#define STALLSCOPE_ANALYSIS_GRAPH_BLOCKED_H

#include "analysis/graph/Adjacency.h"
#include "analysis/model/Findings.h"

namespace stallscope {

// Fills rootBlockers (not ranked), and who is blocked by each of them and by each deadlock.
void countBlocked(const Adjacency& backward, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_BLOCKED_H
