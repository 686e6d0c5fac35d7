#ifndef STALLSCOPE_DIAGNOSTICS_STRING16CONVERSION_H
#define STALLSCOPE_DIAGNOSTICS_STRING16CONVERSION_H

#include <utils/String16.h>

#include <string>

namespace android {

// UTF-8, up to the first NUL.
std::string string16ToString(const String16& text);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_STRING16CONVERSION_H
