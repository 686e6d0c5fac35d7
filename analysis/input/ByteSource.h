#ifndef STALLSCOPE_ANALYSIS_INPUT_BYTESOURCE_H
#define STALLSCOPE_ANALYSIS_INPUT_BYTESOURCE_H

#include <sys/types.h>

#include <cstddef>
#include <functional>

namespace stallscope {

// Reads up to `size` bytes on; 0 at the end, -1 with errno on failure. What files, pipes and the
// members of a zip have in common.
using ByteSource = std::function<ssize_t(char* buffer, size_t size)>;

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_BYTESOURCE_H
