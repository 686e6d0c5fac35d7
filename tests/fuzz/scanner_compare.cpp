#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "tests/fuzz/LineGenerator.h"

// scanner_compare LINES [SEED [THREADS]]: what scanner_fuzzer checks, one pattern to a line,
// without sanitizers and without guidance: many lines in little time. Line n of a seed is the same
// in every run.

namespace {

using namespace android::test;

std::atomic<uint64_t> sNext = 0;
std::atomic<uint64_t> sMatches[std::size(kPatterns)];

constexpr uint64_t kBatch = 10'000;

void compareLines(uint64_t lines, uint64_t seed) {
    for (uint64_t first = sNext.fetch_add(kBatch); first < lines; first = sNext.fetch_add(kBatch)) {
        std::mt19937_64 random(seed * 1'000'003 + first);
        for (uint64_t i = first; i < first + kBatch && i < lines; ++i) {
            uint8_t bytes[250];
            std::generate(std::begin(bytes), std::end(bytes), std::ref(random));
            Choices choices(bytes, sizeof(bytes));
            const Pattern pattern = choices.among(kPatterns);
            sMatches[static_cast<int>(pattern)] += checkScanner(pattern, generateLine(&choices));
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t lines = argc > 1 ? strtoull(argv[1], nullptr, 10) : 100'000;
    const uint64_t seed = argc > 2 ? strtoull(argv[2], nullptr, 10) : 1;
    std::vector<std::thread> workers;
    for (int i = argc > 3 ? atoi(argv[3]) : 1; i > 0; --i) {
        workers.emplace_back(compareLines, lines, seed);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    printf("%" PRIu64 " lines agree\n", lines);
    for (Pattern pattern : kPatterns) {
        printf("%12" PRIu64 " matches of %s\n", sMatches[static_cast<int>(pattern)].load(),
               patternText(pattern));
    }
    return 0;
}
