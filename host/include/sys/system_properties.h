// What <cutils/properties.h> takes from the C library of a device and Debian's does not have.

#ifndef STALLSCOPE_HOST_INCLUDE_SYS_SYSTEM_PROPERTIES_H
#define STALLSCOPE_HOST_INCLUDE_SYS_SYSTEM_PROPERTIES_H

// Longest name and value of a property, each with its final NUL.
#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92

#endif  // STALLSCOPE_HOST_INCLUDE_SYS_SYSTEM_PROPERTIES_H
