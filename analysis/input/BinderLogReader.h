#ifndef STALLSCOPE_ANALYSIS_INPUT_BINDERLOGREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_BINDERLOGREADER_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "analysis/model/BinderLog.h"
#include "analysis/model/Place.h"

namespace stallscope {

// Reads the kernel's binder log, binder_logs/transactions, of any kernel. Appends to *log, so that
// the files of binder_logs/proc can be read one after another. Clears log->complete by the
// text's length if it is a `transactions` file. Never fails: what it can't read is counted in
// *count.
void readBinderLog(const TextPiece& piece, BinderLog* log, LineCount* count);

// Reads a report's BINDER STATE for the threads of pools.
void readBinderState(const TextPiece& piece, std::vector<PoolThread>* threads, LineCount* count);

// False when the kernel may have dropped the rest: the length is below 4096 times a power of two by
// no more than the longest line.
bool isCompleteLength(uint64_t length, uint64_t longestLine);

// True when the text begins like a binder log: one of the first lines is a `proc` header or the
// log's title.
bool looksLikeBinderLog(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_BINDERLOGREADER_H
