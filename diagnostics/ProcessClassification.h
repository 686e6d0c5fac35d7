#ifndef STALLSCOPE_DIAGNOSTICS_PROCESSCLASSIFICATION_H
#define STALLSCOPE_DIAGNOSTICS_PROCESSCLASSIFICATION_H

#include <string>
#include <vector>

namespace android {

// The numbers show in the log as "processType = %d".
enum ProcessType {
    Unknown = 0,
    Native = 1,
    Shell = 2,
    Java = 3,
};

// The bounds of the classes, as values of oom_score_adj.
constexpr int kOomAdjNative = -1000;
constexpr int kOomAdjShell = -950;
constexpr int kOomAdjSystem = -900;  // the system server's, and the lowest of a Java process
constexpr int kOomAdjMax = 1000;

// Programs that count as Java although the shell started them.
extern const std::vector<std::string> kShellJavaProcessNames;

// The class of a process with this oom_score_adj.
ProcessType classifyOomAdj(int adj);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_PROCESSCLASSIFICATION_H
