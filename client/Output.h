#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Arguments.h"

namespace android {

bool isUtf8(std::string_view text);

/** text for a terminal: control characters as \xNN, bytes that are no UTF-8 as U+FFFD. */
std::string printable(std::string_view text);

/** text as a JSON string with its quotes; bytes that are no UTF-8 become U+FFFD. */
std::string jsonString(std::string_view text);

/** One answer in both forms; the caller fills in both, print() shows the one asked for. */
class Report {
  public:
    void string(const char* key, std::string_view value);
    void number(const char* key, int64_t value);
    void flag(const char* key, bool value);
    void list(const char* key, const std::vector<std::string>& values);

    /** Adds a line for the person; other programs' text in it can't steer the terminal. */
    void say(std::string_view line);
    void say(const char* heading, const std::vector<std::string>& lines);

    std::string json() const { return "{" + mMembers + "}\n"; }
    const std::string& text() const { return mText; }

  private:
    void member(const char* key, const std::string& value);

    std::string mMembers;
    std::string mText;
};

/** Writes text to standard output and makes sure that it got there. */
Result printOut(const std::string& text);

/** Tells of result's error on standard error and, as JSON, on standard output. */
void printError(const Result& result, bool json);

}  // namespace android
