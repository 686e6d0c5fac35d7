#ifndef STALLSCOPE_ANALYSIS_GRAPH_CALLRECEIVERS_H
#define STALLSCOPE_ANALYSIS_GRAPH_CALLRECEIVERS_H

#include <cstdint>
#include <vector>

#include "analysis/model/BinderLog.h"

namespace stallscope {

// Who has the calls of the driver in Rust, whose outgoing lines print no receiving thread.
class CallReceivers {
  public:
    explicit CallReceivers(const BinderLog& log);

    // The tid of the receiving process's thread that has the call's incoming line; 0 when the
    // process has it pending; kNoTid when it has neither.
    int find(const TransactionLine& outgoing) const;

  private:
    struct Receiver {
        int64_t debugId = kNoDebugId;
        int pid = 0;
        int tid = 0;
    };

    static bool isBefore(const Receiver& a, const Receiver& b);

    std::vector<Receiver> mReceivers;  // by call and process, threads before pending lines
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_CALLRECEIVERS_H
