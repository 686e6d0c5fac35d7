#ifndef STALLSCOPE_ANALYSIS_INPUT_LINEENDS_H
#define STALLSCOPE_ANALYSIS_INPUT_LINEENDS_H

#include <cstddef>

namespace stallscope {

// Makes "\r\n" to "\n" in a text whose first line ends so: what the device wrote, and as long as
// that. Returns the new size.
size_t dropReturns(char* text, size_t size);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_LINEENDS_H
