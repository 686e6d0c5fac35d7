#ifndef STALLSCOPE_ANALYSIS_INPUT_INPUT_H
#define STALLSCOPE_ANALYSIS_INPUT_INPUT_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "analysis/input/ByteSource.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Told how many bytes were read since the last time; may be empty.
using ReadProgress = std::function<void(uint64_t bytes)>;

// Reads a file, or standard input for "-", of whatever format its content shows. Fills all of the
// snapshot. An empty string on success, else a sentence that says what is wrong and what to do.
std::string readInput(const std::string& file, const ReadProgress& progress, Snapshot* snapshot);

// The same for a text that is in memory, and is copied. For tests and fuzzers.
std::string readText(std::string_view text, Snapshot* snapshot);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_INPUT_H
