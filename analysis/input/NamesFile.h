#ifndef STALLSCOPE_ANALYSIS_INPUT_NAMESFILE_H
#define STALLSCOPE_ANALYSIS_INPUT_NAMESFILE_H

#include <string>
#include <string_view>

#include "analysis/model/Names.h"

namespace stallscope {

// Reads names a person gives: `ps` output, or lines "PID NAME" and "PID:TID NAME"; "#" begins a
// comment. An empty string on success, else a sentence that says which line is wrong and why.
std::string readNames(std::string_view text, Names* names);

// The same from a file.
std::string readNamesFile(const std::string& file, Names* names);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_NAMESFILE_H
