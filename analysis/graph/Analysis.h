#ifndef STALLSCOPE_ANALYSIS_GRAPH_ANALYSIS_H
#define STALLSCOPE_ANALYSIS_GRAPH_ANALYSIS_H

#include <cstdint>

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

struct AnalysisOptions {
    int64_t thresholdMs = 1000;
    const Snapshot* second = nullptr;  // a later look at the same system
    int pid = 0;                       // why this process hangs; 0: the whole system
};

// Who waits for whom, and who holds whom up. The snapshot has to outlive the findings.
Findings analyze(const Snapshot& snapshot, const AnalysisOptions& options = {});

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_ANALYSIS_H
