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
    pid_t section, fromPid, fromTid, toPid, toTid;
    std::string type;  // "outgoing", "incoming" or "pending async"
    int code;
    double elapsed;
};

// The calls in the sections of a process, of all types when none is named.
std::vector<Call> callsOf(pid_t section, const std::string& type = "");
// What reports say of calls: with the names in /proc after "kind from", or without. Elapsed times
// go on, so they are masked.
Texts namedLines(const std::string& kind, const std::vector<Call>& calls);
Texts plainLines(const std::vector<Call>& calls);
Texts masked(Texts lines);
double elapsedIn(const std::string& line);
std::string cmdlineOf(pid_t pid);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_KERNELCALLS_H
