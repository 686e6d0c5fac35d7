#ifndef STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H
#define STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H

#include "analysis/model/Snapshot.h"

namespace stallscope {

// Reads a text that is no bug report: a binder log, thread dumps, both one after the other, or a
// process list. snapshot->sources[piece.source] is the text, which has to stay in memory. False
// when it is none of these.
bool readPlainText(const TextPiece& piece, Snapshot* snapshot);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_PLAINTEXT_H
