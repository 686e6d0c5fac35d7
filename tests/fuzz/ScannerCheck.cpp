#include "tests/fuzz/ScannerCheck.h"

#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/LineGenerator.h"

namespace android::test {

namespace {

void print(const char* who, const std::optional<std::vector<std::string>>& groups) {
    fprintf(stderr, "%s: %s", who, groups ? "match" : "no match");
    for (const std::string& group : groups.value_or(std::vector<std::string>())) {
        fprintf(stderr, " [%s]", escape(group).c_str());
    }
    fprintf(stderr, "\n");
}

}  // namespace

bool checkScanner(Pattern pattern, const std::string& line) {
    std::optional<std::vector<std::string>> expected = searchRegex(pattern, line);
    std::optional<std::vector<std::string>> actual = searchScanner(pattern, line);
    if (actual == expected) {
        return expected.has_value();
    }
    fprintf(stderr, "%s\nsearched in the line\n%s\n", patternText(pattern), escape(line).c_str());
    print("regular expression", expected);
    print("scanner", actual);
    abort();
}

}  // namespace android::test
