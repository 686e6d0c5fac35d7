#include <cstdio>
#include <fstream>
#include <string>

#include "binderlog/BinderLogParser.h"

// parse_log FILE: parses a binder log as one request of the daemon does, as a process of its own to
// set beside grep. Prints what it took: bytes of resident memory at most above those at the start.

namespace {

// The bytes of a line of /proc/self/status, which counts in kB.
long readMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    long kilobytes = 0;
    while (status >> word) {
        if (word == name + ":" && status >> kilobytes) {
            break;
        }
    }
    return kilobytes * 1024;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    long before = readMemory("VmRSS");
    android::BinderLogParser parser;
    if (!parser.parse(argv[1])) {
        return 1;
    }
    printf("%ld\n", readMemory("VmHWM") - before);
    return 0;
}
