#ifndef STALLSCOPE_ANALYSIS_MODEL_DUMPS_H
#define STALLSCOPE_ANALYSIS_MODEL_DUMPS_H

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Takes the names of processes and threads from the snapshot's dumps.
void nameByDumps(Snapshot* snapshot);

// Counts the dump's sources from `shift` on.
void shiftPlaces(uint32_t shift, ThreadDump* dump);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_DUMPS_H
