#ifndef STALLSCOPE_ANALYSIS_GRAPH_RANKING_H
#define STALLSCOPE_ANALYSIS_GRAPH_RANKING_H

#include "analysis/graph/Adjacency.h"
#include "analysis/model/Findings.h"

namespace stallscope {

// Ranks root blockers and deadlocks, which know whom they block, and fills the ends: whoever blocks
// most threads, then processes, then for longest comes first.
void rankEnds(Findings* findings);

// Gives each thread its end and the first step to it, and fills the chains. Needs the ends.
void findChains(const Adjacency& backward, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_RANKING_H
