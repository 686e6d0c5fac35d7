#include "client/Output.h"

#include <json/json.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <locale>

namespace android {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The length of the character that text begins with, or 0 if its first byte is no UTF-8.
size_t readCharacter(std::string_view text, char32_t* character) {
    using Codec = std::codecvt<char32_t, char, std::mbstate_t>;
    static const Codec& codec = std::use_facet<Codec>(std::locale::classic());
    std::mbstate_t state{};
    const char* rest = nullptr;
    char32_t* end = character;
    (void)codec.in(state, text.data(), text.data() + text.size(), rest, character, character + 1,
                   end);
    // libstdc++ 12 lets surrogates pass.
    const bool valid = end != character && (*character < 0xD800 || *character > 0xDFFF);
    return valid ? static_cast<size_t>(rest - text.data()) : 0;
}

// C1 controls count as well: a terminal may obey them.
bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

std::string toUtf8(std::string_view text, bool escapeControls) {
    std::string valid;
    while (!text.empty()) {
        char32_t character = 0;
        const size_t length = readCharacter(text, &character);
        if (length == 0) {
            valid += kReplacement;
        } else if (escapeControls && isControl(character)) {
            char code[8];
            snprintf(code, sizeof(code), "\\x%02x", static_cast<unsigned>(character));
            valid += code;
        } else {
            valid += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return valid;
}

// jsoncpp takes any bytes for UTF-8, and in doing so swallows what stands behind a wrong one.
Json::Value stringValue(std::string_view text) {
    return {toUtf8(text, false)};
}

std::string toJson(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, value);
}

}  // namespace

bool isUtf8(std::string_view text) {
    return toUtf8(text, false) == text;
}

std::string printable(std::string_view text) {
    return toUtf8(text, true);
}

void Report::string(const char* key, std::string_view value) {
    member(key, toJson(stringValue(value)));
}

void Report::number(const char* key, int64_t value) {
    member(key, toJson(static_cast<Json::Int64>(value)));
}

void Report::flag(const char* key, bool value) {
    member(key, toJson(value));
}

void Report::list(const char* key, const std::vector<std::string>& values) {
    Json::Value array(Json::arrayValue);
    for (const std::string& value : values) {
        array.append(stringValue(value));
    }
    member(key, toJson(array));
}

// A Json::Value of all members would sort them by key.
void Report::member(const char* key, const std::string& json) {
    mMembers += (mMembers.empty() ? "" : ",") + toJson(key) + ":" + json;
}

void Report::say(std::string_view line) {
    mText += printable(line) + "\n";
}

void Report::say(const char* heading, const std::vector<std::string>& lines) {
    say(heading);
    for (const std::string& line : lines) {
        say(line);
    }
    say("");
}

std::string errorJson(const Result& result) {
    Report report;
    report.string("error", result.error);
    report.number("exitStatus", result.status);
    return report.json();
}

Result printOut(const std::string& text) {
    const bool written = fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (written && fflush(stdout) == 0) {
        return {};
    }
    return {kFailed, std::string("cannot write the answer to standard output: ") + strerror(errno)};
}

}  // namespace android
