#ifndef STALLSCOPE_TESTS_LINEGENERATOR_H
#define STALLSCOPE_TESTS_LINEGENERATOR_H

#include <string>

#include "tests/fuzz/Choices.h"

namespace android::test {

// A line that one of the patterns of the binder log matches, or nearly: pieces of the patterns,
// some of them left out, repeated, exchanged or run into each other. Short enough for std::regex.
// Holds no line end if `isOneLine`.
std::string generateLine(Choices* choices, bool isOneLine);

// The line as tests/data/hard-lines.txt writes it.
std::string escape(const std::string& line);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_LINEGENERATOR_H
