#ifndef STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H
#define STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H

#include <cstddef>
#include <vector>

#include "analysis/model/Findings.h"

namespace stallscope {

// The threads that a picture shows: those whose end is reported. Where they are too many, some of
// each end, the first ends first, and then more; always with the whole way to the end.
struct Selection {
    std::vector<int> threads;  // in Findings::threads, ascending
    std::vector<int> indices;  // by Findings::threads: where it stands in `threads`, else kNone
    size_t leftOut = 0;        // how many threads with a reported end are not shown

    bool shows(int thread) const { return indices[thread] != kNone; }
};

// At most `most` threads.
Selection selectThreads(const Findings& findings, size_t most);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H
