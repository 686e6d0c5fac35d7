#ifndef STALLSCOPE_TESTS_TRANSCRIPTION_H
#define STALLSCOPE_TESTS_TRANSCRIPTION_H

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "binderlog/BinderTransaction.h"
#include "tests/support/RegexReference.h"

namespace android::test {

// The binder log parser written down step by step with std::getline and std::regex: what
// BinderLogParser must agree with, and what it is measured against.
class Transcription {
  public:
    enum class Compile { Once, AtEachUse };

    Transcription(bool isNewFormat, Compile compile)
          : mIsNewFormat(isNewFormat), mCompile(compile) {}

    // False when the file can't be opened.
    bool parse(const std::string& path);
    // Throws what the standard conversions throw.
    void parse(std::istream& log);

    const std::map<int, std::vector<BinderTransaction>>& sections() const { return mSections; }

    // One line by the grammar of the format. Throws likewise.
    BinderTransaction parseLine(const std::string& line, const std::string& type) const;

  private:
    bool search(Pattern pattern, const std::string& line, std::smatch* match) const;
    int sectionPid(const std::string& line) const;
    std::string classify(const std::string& line) const;

    bool mIsNewFormat;
    Compile mCompile;
    std::map<int, std::vector<BinderTransaction>> mSections;
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_TRANSCRIPTION_H
