#ifndef STALLSCOPE_CLIENT_RESULT_H
#define STALLSCOPE_CLIENT_RESULT_H

#include <string>

namespace android {

// The meaning is the same for every subcommand; scripts rely on the numbers.
enum ExitStatus : int {
    kAnswered = 0,
    kBlocked = 1,
    kUsage = 2,
    kNoService = 3,
    kNoProcess = 4,
    kFailed = 5,
};

// How a step ended: an answer when error is empty, otherwise what went wrong and what to do.
struct Result {
    ExitStatus status = kAnswered;
    std::string error;

    bool failed() const { return !error.empty(); }
};

}  // namespace android

#endif  // STALLSCOPE_CLIENT_RESULT_H
