#ifndef STALLSCOPE_BENCHMARKS_FLOORWORK_H
#define STALLSCOPE_BENCHMARKS_FLOORWORK_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "binderlog/BinderTransaction.h"

namespace android::benchmarks {

// What no implementation of getTransaction can do without, done with as little as possible.

// Reads the kernel's log to its end; returns its size.
size_t readLog();

// The outgoing calls of a process.
std::vector<BinderTransaction> callsOf(pid_t pid);

// The files below /proc that the report on these calls is made of, in the order of the calls, each
// as often as it is read.
std::vector<std::string> filesFor(const std::vector<BinderTransaction>& calls);
constexpr size_t kFilesPerCall = 4;
void readAll(const std::vector<std::string>& files, size_t count);

}  // namespace android::benchmarks

#endif  // STALLSCOPE_BENCHMARKS_FLOORWORK_H
