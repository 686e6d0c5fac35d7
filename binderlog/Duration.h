#ifndef STALLSCOPE_BINDERLOG_DURATION_H
#define STALLSCOPE_BINDERLOG_DURATION_H

#include <string>

namespace android {

// The seconds of an old-format line; 0.0, with a logged error, for what is not a number or is out
// of a double's range.
double extractDuration(const std::string& text);

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_DURATION_H
