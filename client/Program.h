#ifndef STALLSCOPE_CLIENT_PROGRAM_H
#define STALLSCOPE_CLIENT_PROGRAM_H

#include <functional>

#include "client/Commands.h"
#include "client/KernelLog.h"

namespace android {

using Finder = std::function<Result(std::atomic<const char*>* obstacle, sp<IStallscope>* service)>;

// Where the answers come from: on a device, or in a test.
struct Sources {
    Finder find = findService;
    std::string kernelLog = kKernelLog;
};

// Does what the words behind the program's name ask for and sets output to what standard output is
// to get. May end the process: see leave.
Result runProgram(const std::vector<std::string>& words, const Sources& sources,
                  std::string* output);

// How long to wait for the reply: as long as --wait-reply says, but no capture that has a time of
// its own is given up before that is over.
std::chrono::seconds replyLimit(const Command& command, const Arguments& arguments);

// Tells of result's error on standard error, writes output, and ends the process without the
// destructors of static objects, which binder's threads may still use.
[[noreturn]] void leave(const Result& result, const std::string& output);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_PROGRAM_H
