#ifndef STALLSCOPE_DIAGNOSTICS_OUTGOINGWALK_H
#define STALLSCOPE_DIAGNOSTICS_OUTGOINGWALK_H

#include <cstddef>
#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// What a visitor of walkOutgoing returns to stay with the process that it is looking at.
constexpr int kFollowNobody = 0;

// Walks the outgoing transactions of `pid` depth first: those of a followed receiver come directly
// after the transaction that led to it. Keeps its own stack, since a chain may be as long as the
// device has processes and a binder thread's stack is small.
//
// enter(pid) is called each time that a process is entered, the first one included; it returns
// whether to look at its transactions. visit(pid, transaction, isStart) returns the pid to follow
// or kFollowNobody; isStart tells the walk's first process from the followed ones, which may
// include the same pid again.
template <typename Enter, typename Visit>
void walkOutgoing(int pid, const BinderLogParser& parser, Enter enter, Visit visit) {
    struct Process {
        int pid;
        std::vector<BinderTransaction> calls;
        size_t next;
    };
    std::vector<Process> stack;
    auto push = [&](int followed) {
        if (enter(followed)) {
            stack.push_back(
                    {followed, parser.getProcessTransactionsByType(followed, kOutgoing), 0});
        }
    };
    push(pid);
    while (!stack.empty()) {
        Process& current = stack.back();
        if (current.next == current.calls.size()) {
            stack.pop_back();
            continue;
        }
        const BinderTransaction& call = current.calls[current.next++];
        int followed = visit(current.pid, call, stack.size() == 1);
        if (followed != kFollowNobody) {
            push(followed);
        }
    }
}

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_OUTGOINGWALK_H
