#include "tests/fuzz/LineGenerator.h"

// The first byte decides whether the others are the line or make the generator's choices.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace android::test;
    if (size == 0) {
        return 0;
    }
    Choices choices(data + 1, size - 1);
    const std::string line =
            data[0] % 4 == 0 ? std::string(data + 1, data + size) : generateLine(&choices);
    for (Pattern pattern : kPatterns) {
        checkScanner(pattern, line);
    }
    return 0;
}
