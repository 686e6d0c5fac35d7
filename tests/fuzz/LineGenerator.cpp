#include "tests/fuzz/LineGenerator.h"

#include <gtest/gtest-printers.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

namespace android::test {

namespace {

using Parts = std::vector<std::string>;

// Texts for the parts of a pattern that stand for many; any other part stands for itself.
const std::pair<const char*, Parts> kTexts[] = {
        {R"(\s)", {" ", " ", " ", " ", "  ", "\t", "\n", "\v", "\f", "\r", "\r ", " \t", ""}},
        {R"(\d+)",
         {"1", "1", "22", "0", "007", "4096", "2147483647", "2147483648", "99999999999999999999"}},
        {R"([\d.])", {"1.250", "3", ".", "1.2.3", "...", "12", "0.5"}},
        {R"(\w)",
         {"5f", "abcdef", "elapsed", "5elapsed", "aelapsedelapsed", "xelapsedz", "_", "0x1f",
          "outgoing", "codecode", "ZEVO", "9", "pending async", "to", "from", "-", "\xc3\xa9",
          "a\xc3\xa9"}}};
constexpr char kGap[] = ".*?";

const std::vector<Parts> kPatternParts = [] {
    const std::regex part(R"(\([^)]*\)|\\.[+*]|\.\*\?|\w+|.)");
    std::vector<Parts> all;
    for (Pattern pattern : kPatterns) {
        const std::string text = patternText(pattern);
        all.emplace_back(std::sregex_token_iterator(text.begin(), text.end(), part),
                         std::sregex_token_iterator());
    }
    return all;
}();

// The parts of all patterns, and some that match a good piece of one, or just don't.
const Parts kAnyParts = [] {
    std::set<std::string> all = {"\r",      "\n",          "fro",          "elapse",       " ",
                                 ".",       "from 1:2",    "to 3:4",       "code 5",       "code a",
                                 "code: 7", "elapsed 6ms", "duration 8 s", "duration: 9 s"};
    for (const Parts& parts : kPatternParts) {
        all.insert(parts.begin(), parts.end());
    }
    return Parts(all.begin(), all.end());
}();

void append(std::string* line, const std::string& part, Choices* choices) {
    for (unsigned more = part == kGap ? choices->below(4) : 0; more > 0; --more) {
        append(line, choices->among(kAnyParts), choices);
    }
    const auto* texts = std::find_if(std::begin(kTexts), std::end(kTexts), [&](const auto& each) {
        return part.find(each.first) != std::string::npos;
    });
    if (texts != std::end(kTexts)) {
        *line += choices->among(texts->second);
    } else if (part != kGap) {
        *line += part;
    }
}

// A part that is left out, exchanged, followed by another or different at its end.
void appendWrong(std::string* line, const std::string& part, Choices* choices) {
    const unsigned fault = choices->below(4);
    if (fault >= 2) {
        append(line, part, choices);
    }
    if (fault == 1 || fault == 2) {
        append(line, choices->among(kAnyParts), choices);
    } else if (fault == 3 && !line->empty()) {
        line->back() = static_cast<char>(choices->below(256));
    }
}

// One pattern's parts, about one in `errorDistance` of them wrong.
void appendPattern(std::string* line, unsigned errorDistance, Choices* choices) {
    const Parts& parts = choices->among(kPatternParts);
    // A second attempt often needs only the end of a pattern.
    for (size_t i = choices->oneIn(4) ? choices->below(parts.size()) : 0; i < parts.size(); ++i) {
        (choices->oneIn(errorDistance) ? appendWrong : append)(line, parts[i], choices);
    }
}

}  // namespace

std::string generateLine(Choices* choices) {
    constexpr unsigned kErrorDistances[] = {10, 30, 100, 250};
    const unsigned errorDistance = choices->among(kErrorDistances);
    std::string line;
    do {
        appendPattern(&line, errorDistance, choices);
    } while (choices->oneIn(3));
    // On longer ones std::regex may take minutes, when it finds many ways to fail.
    return line.substr(0, 300);
}

bool checkScanner(Pattern pattern, const std::string& line) {
    const auto expected = searchRegex(pattern, line);
    const auto actual = searchScanner(pattern, line);
    if (actual != expected) {
        fprintf(stderr, "%s\nsearched in %s\nregular expression: %s\nscanner: %s\n",
                patternText(pattern), testing::PrintToString(line).c_str(),
                testing::PrintToString(expected).c_str(), testing::PrintToString(actual).c_str());
        abort();
    }
    return expected.has_value();
}

}  // namespace android::test
