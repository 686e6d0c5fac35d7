#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// compare LINES [SEED]: what line_fuzzer does without sanitizers and without guidance: many lines
// in little time, the same in every run of a seed.
int main(int argc, char** argv) {
    const long lines = argc > 1 ? atol(argv[1]) : 100'000;
    std::minstd_rand random(argc > 2 ? atol(argv[2]) : 1);
    for (long line = 0; line < lines; ++line) {
        uint8_t bytes[100];
        std::generate(std::begin(bytes), std::end(bytes), [&] { return random() >> 8; });
        LLVMFuzzerTestOneInput(bytes, sizeof(bytes));
    }
    printf("%ld lines agree\n", lines);
    return 0;
}
