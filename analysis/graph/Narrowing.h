#ifndef STALLSCOPE_ANALYSIS_GRAPH_NARROWING_H
#define STALLSCOPE_ANALYSIS_GRAPH_NARROWING_H

#include "analysis/model/Findings.h"

namespace stallscope {

// Leaves only what concerns one process: what its threads wait for and in which of them others'
// waits end, its chains, its pool and queues. Whom a blocker blocks is still counted on the whole.
void narrow(int pid, Findings* findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_NARROWING_H
