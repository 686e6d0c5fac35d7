#include "tests/support/RegexReference.h"

#include <regex>

#include "binderlog/LinePatterns.h"

namespace android::test {

namespace {

using Groups = std::optional<std::vector<std::string>>;

constexpr const char* kTexts[] = {
        R"(proc\s+(\d+))",
        R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)\s+code\s+(\d+).*?elapsed\s+(\d+)ms)",
        R"(from\s+(\d+):(\d+).*?to\s+(\d+):(\d+).*?code\s+(\w+).*?elapsed\s+(\d+)ms)",
        (R"(ZEVO\s+\w+\s+transaction:\s+from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+))"
         R"(.*?code:\s*(\d+).*?duration:\s*([\d.]+)\s*s)"),
        (R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+).*?code\s+(\d+).*?duration\s+([\d.]+)\s*s)")};

Groups searchTransaction(Pattern pattern, const std::string& line) {
    static constexpr decltype(&findNewStrict) kFinders[] = {nullptr, findNewStrict, findNewLoose,
                                                            findOldMarked, findOldPlain};
    TransactionTexts texts;
    if (!kFinders[static_cast<int>(pattern)](line, &texts)) {
        return std::nullopt;
    }
    std::string_view groups[] = {texts.fromPid, texts.fromTid, texts.toPid,
                                 texts.toTid,   texts.code,    texts.elapsed};
    return std::vector<std::string>(std::begin(groups), std::end(groups));
}

}  // namespace

const char* patternText(Pattern pattern) {
    return kTexts[static_cast<int>(pattern)];
}

Groups searchRegex(Pattern pattern, const std::string& line) {
    static const std::vector<std::regex> compiled(std::begin(kTexts), std::end(kTexts));
    std::smatch match;
    if (!std::regex_search(line, match, compiled[static_cast<int>(pattern)])) {
        return std::nullopt;
    }
    return std::vector<std::string>(std::next(match.begin()), match.end());
}

Groups searchScanner(Pattern pattern, const std::string& line) {
    if (pattern != Pattern::Section) {
        return searchTransaction(pattern, line);
    }
    std::string_view pid;
    return findSectionPid(line, &pid) ? Groups({std::string(pid)}) : std::nullopt;
}

}  // namespace android::test
