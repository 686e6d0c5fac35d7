#ifndef STALLSCOPE_ANALYSIS_INPUT_THREADDUMPREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_THREADDUMPREADER_H

#include <string_view>
#include <vector>

#include "analysis/model/Place.h"
#include "analysis/model/ThreadDump.h"

namespace stallscope {

// Reads all thread dumps of a text: Dalvik, ART, HotSpot and the debugger daemon's native sections.
// Appends to *dumps; their texts are views into piece.text. isOfLogsMoment is left for the caller
// to set. Never fails: what it can't read is counted in *count.
void readThreadDumps(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count);

// True when one of the first lines begins a dump.
bool looksLikeThreadDump(std::string_view text);

// "2026-11-21 09:16:56", also with a fraction and a zone ("2023-05-04 10:11:12.123456789+0200").
// None when it is no date and time.
std::optional<Moment> readMoment(std::string_view text);

// Whole seconds from one to the other, positive when `later` is later; by local time unless both
// print a zone.
int64_t secondsBetween(const Moment& earlier, const Moment& later);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_THREADDUMPREADER_H
