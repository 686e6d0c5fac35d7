#ifndef STALLSCOPE_ANALYSIS_GRAPH_MOVEMENTS_H
#define STALLSCOPE_ANALYSIS_GRAPH_MOVEMENTS_H

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Fills the movement of threads and exhausted pools from a later look: the same call at the top of
// the same thread is stuck, another one is busy.
void findMovements(const BinderLog& first, const Snapshot& second, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_MOVEMENTS_H
