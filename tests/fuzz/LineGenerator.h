#ifndef STALLSCOPE_TESTS_LINEGENERATOR_H
#define STALLSCOPE_TESTS_LINEGENERATOR_H

#include <string>

#include "tests/fuzz/Choices.h"
#include "tests/support/RegexReference.h"

namespace android::test {

// A text that one of the patterns of the binder log matches, or nearly: parts of the patterns, some
// of them left out, repeated, exchanged or run into each other. Short enough for std::regex.
std::string generateLine(Choices* choices);

// Searches the line by the scanner and by the regular expression; true when it matches. Aborts,
// with the line on stderr, when they don't agree.
bool checkScanner(Pattern pattern, const std::string& line);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_LINEGENERATOR_H
