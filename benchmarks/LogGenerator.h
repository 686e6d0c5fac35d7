#ifndef STALLSCOPE_BENCHMARKS_LOGGENERATOR_H
#define STALLSCOPE_BENCHMARKS_LOGGENERATOR_H

#include <cstddef>
#include <string>

namespace android::benchmarks {

// A binder log of this many lines with the shapes and proportions of a captured one
// (tests/data/transactions-6.12.txt) and the longer numbers of a device in use. About one line in
// four is a transaction. The same text in every run of one build.
std::string generateLog(size_t lines, bool isNewFormat);

// One section whose only transaction is a line of this many bytes that makes a scanner start again
// and again.
std::string generateLongLine(size_t bytes, bool isNewFormat);

// One section of transaction lines "from from from ...".
std::string generateFromLines(size_t lines, bool isNewFormat);

}  // namespace android::benchmarks

#endif  // STALLSCOPE_BENCHMARKS_LOGGENERATOR_H
