#include <gtest/gtest-printers.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "tests/support/ReferenceParser.h"
#include "tests/support/TestSupport.h"

// In the log library's place: durations that can't be read are many.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 1;
}

namespace android::test {

// Lines that are hard to read right, and their pieces.
const Texts kLines = linesOf(unescape(readFile(testFile("data/hard-lines.txt"))));
const Texts kPieces = [] {
    Texts pieces = {"\r", "\n", "elapse", "fro", "outgoing transaction ", "99999999999999999999"};
    for (const std::string& line : kLines) {
        for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
            end = line.find_first_of(" \t\v\f:", at);
            pieces.push_back(line.substr(at, end - at) + (pieces.size() % 2 == 0 ? " " : ""));
        }
    }
    return pieces;
}();

// One of the lines with pieces removed, inserted, repeated or exchanged. The bytes, of a fuzzer or
// random, make the choices. Short enough for std::regex, which may take minutes on a longer one.
std::string generateLine(const uint8_t* next, const uint8_t* end) {
    auto below = [&](size_t bound) {
        const unsigned high = next == end ? 0 : *next++, low = next == end ? 0 : *next++;
        return (256 * high + low) % bound;
    };
    std::string line = kLines[below(kLines.size())];
    for (size_t edits = below(8); edits > 0; --edits) {
        const size_t at = below(line.size() + 1);
        switch (below(5)) {
            case 0:
                line.erase(at, below(12));
                break;
            case 1:
                line.insert(at, line.substr(below(line.size() + 1), below(30)));
                break;
            case 2:
                line.insert(at, kLines[below(kLines.size())]);
                break;
            case 3:
                line.insert(at, 1, static_cast<char>(below(256)));
                break;
            default:
                line.insert(at, kPieces[below(kPieces.size())]);
        }
    }
    return line.substr(0, 250);
}

}  // namespace android::test

// The entry of libFuzzer and of compare.cpp: one line, read by the daemon and by the reference. The
// first byte chooses the format, and whether the others are the line or choose what it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace android::test;
    const uint8_t first = size == 0 ? 0 : *data++;
    const uint8_t* const end = data + (size == 0 ? 0 : size - 1);
    const bool isNewFormat = first % 2 == 0;
    std::string line = first / 2 % 8 == 0 ? std::string(data, end) : generateLine(data, end);
    if (line.rfind("proc ", 0) != 0) {
        line = "outgoing transaction ZEVO " + line;
    }
    const std::string expected = filedByReference(isNewFormat, line);
    const std::string actual = filedByDaemon(isNewFormat, line);
    if (actual != expected) {
        fprintf(stderr, "%s format, the line %s\nby the reference: %s\nby the daemon: %s\n",
                isNewFormat ? "new" : "old", testing::PrintToString(line).c_str(), expected.c_str(),
                actual.c_str());
        abort();
    }
    return 0;
}
