#ifndef STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H
#define STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H

#include <optional>

namespace android {

// Whether a kernel of this release ("6.1.75-android14") is taken to write the new line format: 6.1
// and later. Nothing when the text does not begin with two numbers.
std::optional<bool> isNewFormatRelease(const char* release);

// The same for the running kernel (uname), fixed during static initialisation. A release that can't
// be read means the old format.
extern const bool supportNewBinderLogFormat;

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H
