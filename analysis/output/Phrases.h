#ifndef STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H
#define STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// What a reader has to know before he trusts the answer, a sentence each.
std::vector<std::string> caveatsOf(const Snapshot& snapshot);

// "2.9 s", "400 ms", "3 min 20 s"; empty for kNoTime.
std::string durationText(int64_t milliseconds);

// "camera.provider (143)", "process 143" without a name.
std::string processText(int pid, std::string_view name);

// "camera.provider (143), thread 152"; of a node with tid 0 only the process.
std::string threadText(const ThreadNode& thread);

// "3 threads", "1 thread", "2 processes"
std::string countText(uint64_t count, const std::string& noun);

// "code 5f4e5446 on node 28", hexadecimal as the kernel prints it
std::string callText(const Call& call);

// What a thread does as far as known: "serving code 3 on node 28 for 2.9 s, in a.b.C.d(C.java:12)".
std::string doingText(const Findings& findings, const ThreadNode& thread);

// "waits in a call with code 3 for 2.9 s", "waits for lock <0x0abc> (a T)"
std::string waitText(const Findings& findings, const Wait& wait);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H
