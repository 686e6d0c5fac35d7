#ifndef STALLSCOPE_TESTS_REGEXREFERENCE_H
#define STALLSCOPE_TESTS_REGEXREFERENCE_H

#include <optional>
#include <string>
#include <vector>

namespace android::test {

// The five patterns of the binder log, as the standard library's regular expressions: what the
// scanners of binderlog/LinePatterns.h must agree with, and what they are measured against.
enum class Pattern { Section, NewStrict, NewLoose, OldMarked, OldPlain };
inline constexpr Pattern kPatterns[] = {Pattern::Section, Pattern::NewStrict, Pattern::NewLoose,
                                        Pattern::OldMarked, Pattern::OldPlain};

const char* patternText(Pattern pattern);

// The captured groups of the first match in the line, or nothing. The expression is compiled once.
// Recurses over the line: lines of many kilobytes overflow the stack.
std::optional<std::vector<std::string>> searchRegex(Pattern pattern, const std::string& line);

// The same by the scanner.
std::optional<std::vector<std::string>> searchScanner(Pattern pattern, const std::string& line);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_REGEXREFERENCE_H
