#ifndef STALLSCOPE_DIAGNOSTICS_BINDERPEERCHAIN_H
#define STALLSCOPE_DIAGNOSTICS_BINDERPEERCHAIN_H

#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android {

// The chain of processes that pid calls into, unclassified. Appends one line to `lines` for each
// outgoing transaction met and, in parallel, the pid and command line of each process followed to
// `peerPids` and `peerCmdlines`. At most one process of each command line is followed. Every line
// also goes to the system log buffer at WARN under `tag`.
void getBinderToProcess(int pid, BinderLogParser& parser, const std::string& tag,
                        std::vector<std::string>* peerPids, std::vector<std::string>* peerCmdlines,
                        std::vector<std::string>* lines);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_BINDERPEERCHAIN_H
