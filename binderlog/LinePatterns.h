#ifndef STALLSCOPE_BINDERLOG_LINEPATTERNS_H
#define STALLSCOPE_BINDERLOG_LINEPATTERNS_H

#include <string_view>

namespace android {

// The captured texts of a transaction line; they point into the line.
struct TransactionTexts {
    std::string_view fromPid;
    std::string_view fromTid;
    std::string_view toPid;
    std::string_view toTid;
    std::string_view code;
    std::string_view elapsed;
};

// Each function gives the result of searching the line for the regular expression quoted above its
// definition (ECMAScript, first match anywhere in the line), without a regular expression engine:
// no recursion over the line, and time linear in its length for every input. False when the line
// has no match; the texts are then unspecified.

// The pid of a section header.
bool findSectionPid(std::string_view line, std::string_view* pid);

// The new line format, strict and loose.
bool findNewStrict(std::string_view line, TransactionTexts* texts);
bool findNewLoose(std::string_view line, TransactionTexts* texts);

// The old line format, with the vendor's mark and without.
bool findOldMarked(std::string_view line, TransactionTexts* texts);
bool findOldPlain(std::string_view line, TransactionTexts* texts);

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_LINEPATTERNS_H
