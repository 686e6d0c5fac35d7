#ifndef STALLSCOPE_BINDERLOG_BINDERTRANSACTION_H
#define STALLSCOPE_BINDERLOG_BINDERTRANSACTION_H

#include <cstdint>
#include <string>

namespace android {

// One transaction line of the kernel's binder log. A line that could not be read is kept as a
// record that has only its type.
struct BinderTransaction {
    std::string type;   // "outgoing", "incoming" or "pending async"
    std::string extra;  // always empty
    int32_t fromPid = 0;
    int32_t fromTid = 0;
    int32_t toPid = 0;
    int32_t toTid = 0;  // 0 while no thread of the receiver has taken the call
    int32_t code = 0;
    double elapsed = 0.0;  // seconds, whatever unit the log line used

    // One line without a line end. The elapsed time has at most six significant digits here,
    // unlike in the reports.
    std::string toString() const;
};

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_BINDERTRANSACTION_H
