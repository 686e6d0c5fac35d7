#ifndef STALLSCOPE_ANALYSIS_OUTPUT_PAGEDATA_H
#define STALLSCOPE_ANALYSIS_OUTPUT_PAGEDATA_H

#include <string>

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// All that the page's script draws and tells, as JSON that may stand in a script element: ASCII
// without "<". Its threads are a Selection; indices are those of its own lists.
std::string writePageData(const Snapshot& snapshot, const Findings& findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_PAGEDATA_H
