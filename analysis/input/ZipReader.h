#ifndef STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H

#include <string>
#include <string_view>

#include "analysis/input/Archive.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Reads a zipped bug report: its text (the one that main_entry.txt names, else the largest text at
// the top level) and the dumps under FS/data/anr. Appends to snapshot->sources. An empty string on
// success, else a sentence that says what is wrong with the zip and what to do, without its name.
std::string readZip(const ZipBytes& zip, Snapshot* snapshot);

// True for the bytes that a zip begins with.
bool looksLikeZip(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_ZIPREADER_H
