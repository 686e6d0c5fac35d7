#include <algorithm>

#include "client/Program.h"

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    std::string output;
    const android::Result result = android::runProgram(words, {}, &output);
    android::leave(result, output);
}
