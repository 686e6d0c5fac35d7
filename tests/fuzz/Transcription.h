#ifndef STALLSCOPE_TESTS_TRANSCRIPTION_H
#define STALLSCOPE_TESTS_TRANSCRIPTION_H

#include <istream>
#include <map>
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

    explicit Transcription(bool isNewFormat, Compile compile = Compile::Once)
          : mIsNewFormat(isNewFormat), mCompile(compile) {}

    // False when the file can't be opened. All three throw what the standard conversions throw.
    bool parse(const std::string& path);
    void parse(std::istream& log);
    // One line by the grammar of the format.
    BinderTransaction parseLine(const std::string& line, const std::string& type) const;

    const std::map<int, std::vector<BinderTransaction>>& sections() const { return mSections; }

  private:
    std::optional<std::vector<std::string>> search(Pattern pattern, const std::string& line) const;
    std::string classify(const std::string& line) const;

    bool mIsNewFormat;
    Compile mCompile;
    std::map<int, std::vector<BinderTransaction>> mSections;
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_TRANSCRIPTION_H
