#ifndef STALLSCOPE_CLIENT_OUTPUT_H
#define STALLSCOPE_CLIENT_OUTPUT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "client/Result.h"

namespace android {

bool isUtf8(std::string_view text);

// text for a terminal: control characters as \xNN, each byte that is no UTF-8 as U+FFFD.
std::string printable(std::string_view text);

// One answer in both forms; the caller fills in both, and one of them is shown.
class Report {
  public:
    // In the JSON form each byte that is no UTF-8 becomes U+FFFD.
    void string(const char* key, std::string_view value);
    void number(const char* key, int64_t value);
    void flag(const char* key, bool value);
    void list(const char* key, const std::vector<std::string>& values);

    // Adds a line for the person; other programs' text in it can't steer the terminal.
    void say(std::string_view line);
    void say(const char* heading, const std::vector<std::string>& lines);

    // One object on one line, its members in the order in which they were added.
    std::string json() const { return "{" + mMembers + "}\n"; }
    const std::string& text() const { return mText; }

  private:
    void member(const char* key, const std::string& json);

    std::string mMembers;
    std::string mText;
};

// What stands for result's error where JSON was asked for.
std::string errorJson(const Result& result);

// Writes text to standard output and makes sure that it got there.
Result printOut(const std::string& text);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_OUTPUT_H
