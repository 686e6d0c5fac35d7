#ifndef STALLSCOPE_ANALYSIS_GRAPH_QUEUES_H
#define STALLSCOPE_ANALYSIS_GRAPH_QUEUES_H

#include "analysis/graph/CallTable.h"
#include "analysis/model/BinderLog.h"
#include "analysis/model/Findings.h"

namespace stallscope {

// Fill exhaustedPools and onewayBacklogs, the longest queue first, those below
// findings->thresholdMs last. findings->calls has to be filled.
void findExhaustedPools(const BinderLog& log, const CallTable& table, Findings* findings);
void findOnewayBacklogs(const BinderLog& log, const CallTable& table, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_QUEUES_H
