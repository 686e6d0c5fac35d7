#ifndef STALLSCOPE_TESTS_GUEST_KERNELCALLS_H
#define STALLSCOPE_TESTS_GUEST_KERNELCALLS_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/guest/GuestSupport.h"

namespace android::test {

constexpr char kKernelLog[] = "/dev/binderfs/binder_logs/transactions";

// A line of the kernel's log, read by other means than the daemon's.
struct Call {
    pid_t fromPid, toPid;
    double elapsed;
    // What reports say of it, with masked elapsed time: without names, or with those in /proc.
    std::string plain, named;
};

// The calls in the sections of a process: "outgoing", "incoming", "pending async" or all.
std::vector<Call> callsOf(pid_t section, const std::string& type = "");
Texts plainLines(const std::vector<Call>& calls);
Texts namedLines(const std::vector<Call>& calls);
// With T for elapsed times, which go on.
Texts masked(Texts lines);
std::string cmdlineOf(pid_t pid);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_KERNELCALLS_H
