#ifndef STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H
#define STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Reads a text that is no bug report: a binder log, thread dumps, a process list, or several of
// them one after the other, as whoever saves them at one moment may put them into one file.
// Fills format, log, poolThreads, dumps, names and lines. snapshot->sources[piece.source] is the
// text, which has to stay in memory.
void readPlainText(const TextPiece& piece, Snapshot* snapshot);

// True when the beginning of a text, of 64 KB or more, is that of such a text.
bool looksLikePlainText(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H
