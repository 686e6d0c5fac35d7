#ifndef STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H
#define STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H

#include <cstdint>
#include <string>

#include "analysis/model/Findings.h"

namespace stallscope {

// "2.9 s", "400 ms", "3 min 20 s"; empty for kNoTime.
std::string durationText(int64_t milliseconds);

// "camera.provider (143)", "process 143" without a name.
std::string processText(const ThreadNode& thread);

// "camera.provider (143), thread 152"; of a process with tid 0 the same as processText.
std::string threadText(const ThreadNode& thread);

// "3 threads", "1 thread"
std::string countText(uint64_t count, const std::string& noun);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_PHRASES_H
