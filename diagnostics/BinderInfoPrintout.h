#ifndef STALLSCOPE_DIAGNOSTICS_BINDERINFOPRINTOUT_H
#define STALLSCOPE_DIAGNOSTICS_BINDERINFOPRINTOUT_H

#include <string>

#include "binderlog/BinderLogParser.h"

namespace android {

// Writes a header and one entry for each transaction of pid, of every type, to the system log
// buffer at WARN under `tag`, so that they stand in a bug report beside the other messages.
void printfBinderInfo(int pid, BinderLogParser& parser, const std::string& tag);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_BINDERINFOPRINTOUT_H
