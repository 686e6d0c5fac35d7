#ifndef STALLSCOPE_TESTS_ANALYSIS_GRAPH_DESCRIBE_H
#define STALLSCOPE_TESTS_ANALYSIS_GRAPH_DESCRIBE_H

#include <string>

#include "analysis/graph/Analysis.h"
#include "analysis/input/Input.h"

namespace stallscope {

inline std::string describe(ThreadId id) {
    return std::to_string(id.pid) + ":" + std::to_string(id.tid);
}

inline std::string describeTime(int64_t milliseconds) {
    return milliseconds == kNoTime ? " -" : " " + std::to_string(milliseconds);
}

// What is reported, a statement a line:
//   pool 1:2>3:4 blocks 5/2          a deadlock's kind, members, blocked threads and processes
//   3:4 blocks 3/3 2947              a root blocker, its threads, processes and longest wait
//   dry 147 1 2728                   an exhausted pool
//   backlog 145/7 2 2580             one-way calls on a node
inline std::string describe(const Findings& findings) {
    std::string text;
    auto counts = [](const auto& each) {
        return " blocks " + std::to_string(each.blockedThreads) + "/" +
               std::to_string(each.blockedProcesses);
    };
    for (const Deadlock& each : findings.deadlocks) {
        text += nameOf(each.kind);
        for (int member : each.members) {
            text += (member == each.members.front() ? " " : ">") +
                    describe(findings.threads[member].id);
        }
        text += counts(each) + (each.isProbable ? " probably\n" : "\n");
    }
    for (const RootBlocker& each : findings.rootBlockers) {
        if (!each.isShort) {
            text += describe(findings.threads[each.thread].id) + counts(each) +
                    describeTime(each.longestWaitMs) + (each.isProbable ? " probably\n" : "\n");
        }
    }
    for (const ExhaustedPool& each : findings.exhaustedPools) {
        text += each.isShort
                        ? ""
                        : "dry " + std::to_string(each.pid) + " " + std::to_string(each.queued) +
                                  describeTime(each.oldestMs) + "\n";
    }
    for (const OnewayBacklog& each : findings.onewayBacklogs) {
        text += each.isShort
                        ? ""
                        : "backlog " + std::to_string(each.pid) + "/" + std::to_string(each.node) +
                                  " " + std::to_string(each.queued) + describeTime(each.oldestMs) +
                                  "\n";
    }
    return text;
}

inline std::string answerTo(const std::string& text, const AnalysisOptions& options = {}) {
    Snapshot snapshot;
    std::string error = readText(text, &snapshot);
    return error.empty() ? describe(analyze(snapshot, options)) : error;
}

}  // namespace stallscope

#endif  // STALLSCOPE_TESTS_ANALYSIS_GRAPH_DESCRIBE_H
