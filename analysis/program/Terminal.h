#ifndef STALLSCOPE_ANALYSIS_PROGRAM_TERMINAL_H
#define STALLSCOPE_ANALYSIS_PROGRAM_TERMINAL_H

#include "analysis/output/Output.h"

namespace stallscope {

// What standard output can do: its size and colour on a terminal (unless NO_COLOR is set), lines
// of any length elsewhere.
TextOptions askTerminal();

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_TERMINAL_H
