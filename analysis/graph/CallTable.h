#ifndef STALLSCOPE_ANALYSIS_GRAPH_CALLTABLE_H
#define STALLSCOPE_ANALYSIS_GRAPH_CALLTABLE_H

#include <vector>

#include "analysis/model/BinderLog.h"
#include "analysis/model/Findings.h"

namespace stallscope {

// The calls of a log, the lines of each joined by debug id; in the vendor's form, which has none,
// only the two ends of a queued call are joined, by sender and receiver.
struct CallTable {
    std::vector<Call> calls;
    std::vector<Place> places;   // by call
    std::vector<int> ofFrame;    // the call of each of BinderLog::frames
    std::vector<int> ofPending;  // the call of each of BinderLog::pending
    std::vector<bool> isTaken;   // by call: a line shows that a thread has it
    bool hasTimes = false;
};

CallTable joinCalls(const BinderLog& log);

// "to P:0", or no thread number behind P: no thread has taken it, as far as this line says.
inline bool isToProcess(const TransactionLine& line) {
    return line.to.pid != 0 && line.to.tid <= 0;
}

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_CALLTABLE_H
