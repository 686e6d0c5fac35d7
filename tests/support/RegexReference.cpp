#include "tests/support/RegexReference.h"

#include <regex>

#include "binderlog/LinePatterns.h"

namespace android::test {

namespace {

using Groups = std::optional<std::vector<std::string>>;
using Finder = bool (*)(std::string_view, TransactionTexts*);

Groups collect(bool isFound, std::initializer_list<std::string_view> texts) {
    if (!isFound) {
        return std::nullopt;
    }
    return std::vector<std::string>(texts.begin(), texts.end());
}

Groups scanTransaction(Finder find, const std::string& line) {
    TransactionTexts texts;
    bool isFound = find(line, &texts);
    return collect(isFound, {texts.fromPid, texts.fromTid, texts.toPid, texts.toTid, texts.code,
                             texts.elapsed});
}

}  // namespace

const char* patternText(Pattern pattern) {
    switch (pattern) {
        case Pattern::Section:
            return R"(proc\s+(\d+))";
        case Pattern::NewStrict:
            return R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)\s+code\s+(\d+).*?elapsed\s+(\d+)ms)";
        case Pattern::NewLoose:
            return R"(from\s+(\d+):(\d+).*?to\s+(\d+):(\d+).*?code\s+(\w+).*?elapsed\s+(\d+)ms)";
        case Pattern::OldMarked:
            return R"(ZEVO\s+\w+\s+transaction:\s+from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+))"
                   R"(.*?code:\s*(\d+).*?duration:\s*([\d.]+)\s*s)";
        case Pattern::OldPlain:
            return R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+))"
                   R"(.*?code\s+(\d+).*?duration\s+([\d.]+)\s*s)";
    }
    return "";
}

Groups searchRegex(Pattern pattern, const std::string& line) {
    static const std::regex compiled[] = {
            std::regex(patternText(Pattern::Section)), std::regex(patternText(Pattern::NewStrict)),
            std::regex(patternText(Pattern::NewLoose)), std::regex(patternText(Pattern::OldMarked)),
            std::regex(patternText(Pattern::OldPlain))};
    std::smatch match;
    if (!std::regex_search(line, match, compiled[static_cast<int>(pattern)])) {
        return std::nullopt;
    }
    return std::vector<std::string>(std::next(match.begin()), match.end());
}

Groups searchScanner(Pattern pattern, const std::string& line) {
    std::string_view pid;
    switch (pattern) {
        case Pattern::Section: {
            bool isFound = findSectionPid(line, &pid);
            return collect(isFound, {pid});
        }
        case Pattern::NewStrict:
            return scanTransaction(findNewStrict, line);
        case Pattern::NewLoose:
            return scanTransaction(findNewLoose, line);
        case Pattern::OldMarked:
            return scanTransaction(findOldMarked, line);
        case Pattern::OldPlain:
            return scanTransaction(findOldPlain, line);
    }
    return std::nullopt;
}

}  // namespace android::test
