#ifndef STALLSCOPE_ANALYSIS_INPUT_PROCESSLISTREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_PROCESSLISTREADER_H

#include <string_view>

#include "analysis/model/Names.h"
#include "analysis/model/Place.h"

namespace stallscope {

// Reads `ps` output of any generation, with or without threads; columns are known by the header.
void readProcessList(const TextPiece& piece, Names* names, LineCount* count);

// True when the first line that is not blank is such a header.
bool looksLikeProcessList(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_PROCESSLISTREADER_H
