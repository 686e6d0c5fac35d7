#ifndef STALLSCOPE_ANALYSIS_GRAPH_DEADLOCKS_H
#define STALLSCOPE_ANALYSIS_GRAPH_DEADLOCKS_H

#include "analysis/graph/Adjacency.h"
#include "analysis/model/Findings.h"

namespace stallscope {

// Fills findings->deadlocks but for who is blocked by them: the strongly connected sets of threads
// with an edge, all of whose edges stay within the set.
void findDeadlocks(const Adjacency& forward, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_DEADLOCKS_H
