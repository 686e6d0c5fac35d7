#ifndef STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H

#include <string>
#include <string_view>

#include "analysis/input/ByteSource.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Reads a zipped bug report in one or two passes: its text (the one that main_entry.txt names, else
// the largest text file at the top level) and the dumps under FS/data/anr. `open` gives the bytes
// of the zip from their beginning, each time it is called. Appends to snapshot->sources. An empty
// string on success, else a sentence that says what is wrong and what to do.
std::string readZip(const std::function<ByteSource()>& open, Snapshot* snapshot);

// True for the bytes that a zip begins with.
bool looksLikeZip(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H
