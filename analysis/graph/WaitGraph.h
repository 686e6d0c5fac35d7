#ifndef STALLSCOPE_ANALYSIS_GRAPH_WAITGRAPH_H
#define STALLSCOPE_ANALYSIS_GRAPH_WAITGRAPH_H

#include "analysis/graph/CallTable.h"
#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Fills threads, waits, pools and stacks of the findings: who waits for whom, one step.
void buildWaitGraph(const Snapshot& snapshot, const BinderLog& log, const CallTable& table,
                    Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_WAITGRAPH_H
