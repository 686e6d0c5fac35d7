#include "analysis/graph/Analysis.h"

#include "analysis/graph/Adjacency.h"
#include "analysis/graph/Blocked.h"
#include "analysis/graph/CallTable.h"
#include "analysis/graph/Deadlocks.h"
#include "analysis/graph/Movements.h"
#include "analysis/graph/Narrowing.h"
#include "analysis/graph/Queues.h"
#include "analysis/graph/Ranking.h"
#include "analysis/graph/WaitGraph.h"

namespace stallscope {

namespace {

const BinderLog& logOf(const Snapshot& snapshot) {
    static const BinderLog kEmpty;
    return snapshot.log ? *snapshot.log : kEmpty;
}

template <typename Queue>
void nameProcesses(const Names& names, std::vector<Queue>* queues) {
    for (Queue& each : *queues) {
        each.process = names.ofProcess(each.pid);
    }
}

}  // namespace

Findings analyze(const Snapshot& snapshot, const AnalysisOptions& options) {
    const BinderLog& log = logOf(snapshot);
    Findings findings;
    findings.thresholdMs = options.thresholdMs;
    CallTable table = joinCalls(log);
    findings.calls = std::move(table.calls);
    findings.callPlaces = std::move(table.places);
    findings.hasTimes = table.hasTimes;
    buildWaitGraph(snapshot, log, table, &findings);
    findDeadlocks(Adjacency::forward(findings), &findings);
    Adjacency backward = Adjacency::backward(findings);
    countBlocked(backward, &findings);
    rankEnds(&findings);
    findChains(backward, &findings);
    findExhaustedPools(log, table, &findings);
    findOnewayBacklogs(log, table, &findings);
    nameProcesses(snapshot.names, &findings.exhaustedPools);
    nameProcesses(snapshot.names, &findings.onewayBacklogs);
    if (options.second != nullptr) {
        findMovements(log, *options.second, &findings);
    }
    if (options.pid != 0) {
        findings.process = snapshot.names.ofProcess(options.pid);
        narrow(options.pid, &findings);
    }
    return findings;
}

}  // namespace stallscope
