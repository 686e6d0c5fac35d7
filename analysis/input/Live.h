#ifndef STALLSCOPE_ANALYSIS_INPUT_LIVE_H
#define STALLSCOPE_ANALYSIS_INPUT_LIVE_H

#include <string>
#include <vector>

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Where the running kernel's binder log may be, best first.
inline const std::vector<std::string> kBinderLogFolders = {
        "/dev/binderfs/binder_logs", "/sys/kernel/debug/binder", "/proc/binder"};

// Reads `transactions` in the first of the folders that has it, and the names of the processes in
// it from procFolder. Where its length is one at which the kernel drops the rest, the files in
// `proc` beside it are read in its place, which have all lines. An empty string on success, else a
// sentence that says what is wrong and what to do.
std::string readLive(const std::vector<std::string>& folders, const std::string& procFolder,
                     Snapshot* snapshot);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_LIVE_H
