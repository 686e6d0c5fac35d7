#ifndef STALLSCOPE_ANALYSIS_INPUT_NATIVEMUTEX_H
#define STALLSCOPE_ANALYSIS_INPUT_NATIVEMUTEX_H

#include <vector>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// True when the native frames at the top say that the thread waits for a mutex or a reader-writer
// lock of bionic, glibc or ART.
bool waitsForMutex(const std::vector<StackFrame>& frames);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_NATIVEMUTEX_H
