#ifndef STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H
#define STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H

namespace android {

// True when the running kernel (uname) is 6.1 or later and so writes the new line format. Fixed
// during static initialisation; a release that can't be read means the old format.
extern const bool supportNewBinderLogFormat;

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_KERNELLOGFORMAT_H
