#include "analysis/graph/Queues.h"

#include <algorithm>
#include <tuple>

namespace stallscope {

namespace {

struct QueuedCall {
    int pid = 0;
    int64_t node = kNoNode;
    int call = kNone;
};

bool operator<(const QueuedCall& a, const QueuedCall& b) {
    return std::tie(a.pid, a.node, a.call) < std::tie(b.pid, b.node, b.call);
}
bool operator==(const QueuedCall& a, const QueuedCall& b) {
    return std::tie(a.pid, a.node, a.call) == std::tie(b.pid, b.node, b.call);
}

// A reply is on its way to a thread, not queued for one: it comes from 0:0, or has no node where
// every call has one.
bool isReply(const TransactionLine& line) {
    return line.from == ThreadId() || (line.to.tid == kNoTid && line.node == kNoNode);
}

// Makes one entry of each run of calls with the same pid and node.
template <typename Queue, typename Begin>
void group(std::vector<QueuedCall> queued, const Findings& findings, std::vector<Queue>* queues,
           Begin begin) {
    std::sort(queued.begin(), queued.end());
    queued.erase(std::unique(queued.begin(), queued.end()), queued.end());
    for (size_t i = 0; i < queued.size(); ++i) {
        bool isNew = i == 0 || queued[i].pid != queued[i - 1].pid ||
                     queued[i].node != queued[i - 1].node;
        if (isNew) {
            begin(queued[i], &queues->emplace_back());
        }
        Queue& queue = queues->back();
        ++queue.queued;
        queue.calls.push_back(queued[i].call);
        queue.oldestMs = std::max(queue.oldestMs, findings.calls[queued[i].call].timeMs);
    }
}

// Longest first; the grouping has left them by pid and node.
template <typename Queue>
void rank(int64_t thresholdMs, std::vector<Queue>* queues) {
    for (Queue& each : *queues) {
        each.isShort = each.oldestMs != kNoTime && each.oldestMs < thresholdMs;
    }
    std::stable_sort(queues->begin(), queues->end(), [](const Queue& a, const Queue& b) {
        return std::tie(a.isShort, b.queued, b.oldestMs) <
               std::tie(b.isShort, a.queued, a.oldestMs);
    });
}

}  // namespace

void findExhaustedPools(const BinderLog& log, const CallTable& table, Findings* findings) {
    std::vector<QueuedCall> queued;
    auto add = [&](const TransactionLine& line, int call) {
        if (!line.isOneWay() && isToProcess(line) && !table.isTaken[call]) {
            queued.push_back({line.to.pid, kNoNode, call});
        }
    };
    for (size_t i = 0; i < log.frames.size(); ++i) {
        if (log.frames[i].to.tid == 0) {
            add(log.frames[i], table.ofFrame[i]);
        }
    }
    for (size_t i = 0; i < log.pending.size(); ++i) {
        if (!isReply(log.pending[i].call)) {
            add(log.pending[i].call, table.ofPending[i]);
        }
    }
    group(std::move(queued), *findings, &findings->exhaustedPools,
          [](const QueuedCall& call, ExhaustedPool* pool) { pool->pid = call.pid; });
    rank(findings->thresholdMs, &findings->exhaustedPools);
}

void findOnewayBacklogs(const BinderLog& log, const CallTable& table, Findings* findings) {
    std::vector<QueuedCall> queued;
    for (size_t i = 0; i < log.pending.size(); ++i) {
        const PendingCall& pending = log.pending[i];
        if (pending.call.isOneWay()) {
            int64_t node = pending.call.node;
            queued.push_back({log.sections[pending.section].pid,
                              node == kNoNode ? pending.headerNode : node, table.ofPending[i]});
        }
    }
    group(std::move(queued), *findings, &findings->onewayBacklogs,
          [](const QueuedCall& call, OnewayBacklog* backlog) {
              backlog->pid = call.pid;
              backlog->node = call.node;
          });
    rank(findings->thresholdMs, &findings->onewayBacklogs);
}

}  // namespace stallscope
