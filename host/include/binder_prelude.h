// Included before everything that uses libbinder: its headers use these without including them.

#ifndef STALLSCOPE_HOST_INCLUDE_BINDER_PRELUDE_H
#define STALLSCOPE_HOST_INCLUDE_BINDER_PRELUDE_H

#include <cstring>
#include <limits>
#include <memory>
#include <string>

#endif  // STALLSCOPE_HOST_INCLUDE_BINDER_PRELUDE_H
