#ifndef STALLSCOPE_TESTS_SCANNERCHECK_H
#define STALLSCOPE_TESTS_SCANNERCHECK_H

#include <string>

#include "tests/support/RegexReference.h"

namespace android::test {

// Searches the line by the scanner and by the regular expression; true when it matches. Aborts,
// with the line on stderr, when they don't agree.
bool checkScanner(Pattern pattern, const std::string& line);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_SCANNERCHECK_H
