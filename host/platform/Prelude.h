// Included before every platform source: those sources were written for a standard library whose
// headers include each other more freely, and for C++17's unscoped memory orders.

#ifndef STALLSCOPE_HOST_PLATFORM_PRELUDE_H
#define STALLSCOPE_HOST_PLATFORM_PRELUDE_H

#include <linux/types.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <string>

using std::memory_order_acquire;
using std::memory_order_relaxed;
using std::memory_order_release;
using std::memory_order_seq_cst;

#endif  // STALLSCOPE_HOST_PLATFORM_PRELUDE_H
