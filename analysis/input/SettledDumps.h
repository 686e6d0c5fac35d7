#ifndef STALLSCOPE_ANALYSIS_INPUT_SETTLEDDUMPS_H
#define STALLSCOPE_ANALYSIS_INPUT_SETTLEDDUMPS_H

#include <cstddef>

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Marks a report's dumps from `first` on as of the log's moment when they are within a minute of
// the report's own time, and no others.
void markDumpsByTime(size_t first, Snapshot* snapshot);

// Drops the second of two copies of one dump: a report may hold it as a section and as a file.
void dropCopiedDumps(Snapshot* snapshot);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_SETTLEDDUMPS_H
