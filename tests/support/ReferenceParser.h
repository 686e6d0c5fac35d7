#ifndef STALLSCOPE_TESTS_REFERENCEPARSER_H
#define STALLSCOPE_TESTS_REFERENCEPARSER_H

#include <string>

#include "binderlog/SectionFiler.h"

namespace android::test {

// The patterns of the binder log: a section's header, the new line format strict and loose, the old
// one with the vendor's mark and without.
inline constexpr const char* kPatterns[] = {
        R"(proc\s+(\d+))",
        R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)\s+code\s+(\d+).*?elapsed\s+(\d+)ms)",
        R"(from\s+(\d+):(\d+).*?to\s+(\d+):(\d+).*?code\s+(\w+).*?elapsed\s+(\d+)ms)",
        (R"(ZEVO\s+\w+\s+transaction:\s+from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+))"
         R"(.*?code:\s*(\d+).*?duration:\s*([\d.]+)\s*s)"),
        R"(from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+).*?code\s+(\d+).*?duration\s+([\d.]+)\s*s)"};

// The parser of the binder log written down step by step with std::regex: what the daemon's must
// agree with, and what it is measured against. Recurses over a line: one of many kilobytes
// overflows the stack.
class ReferenceParser {
  public:
    enum class Compile { Once, AtEachUse };

    explicit ReferenceParser(bool isNewFormat, Compile compile = Compile::Once)
          : mIsNewFormat(isNewFormat), mCompile(compile) {}

    // A whole file. False when it can't be opened.
    bool parse(const std::string& path);
    // One line without its end. Throws what the standard conversions throw.
    void file(const std::string& line);

    const BinderLogSections& sections() const { return mSections; }

  private:
    struct Groups;
    Groups search(int pattern, const std::string& line) const;
    BinderTransaction read(const std::string& line, const std::string& type) const;

    bool mIsNewFormat;
    Compile mCompile;
    BinderLogSections mSections;
    int mPid = -1;
};

// What becomes of a line in a section, by the reference and by the daemon: texts that are equal
// when the two agree. "throws" when a number does not fit.
std::string filedByReference(bool isNewFormat, const std::string& line);
std::string filedByDaemon(bool isNewFormat, const std::string& line);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_REFERENCEPARSER_H
