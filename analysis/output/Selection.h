#ifndef STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H
#define STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H

#include <cstddef>
#include <vector>

#include "analysis/model/Findings.h"

namespace stallscope {

// The threads that a picture shows: those whose end is reported. Where they are too many, those
// nearest to an end, so that the way from each shown thread to its end is shown as well.
struct Selection {
    std::vector<int> threads;  // in Findings::threads, ascending
    std::vector<int> indices;  // by Findings::threads: where it stands in `threads`, else kNone
    size_t leftOut = 0;        // how many threads with a reported end are not shown

    bool shows(int thread) const { return indices[thread] != kNone; }
};

// At most `most` threads, but always every end.
Selection selectThreads(const Findings& findings, size_t most);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_SELECTION_H
