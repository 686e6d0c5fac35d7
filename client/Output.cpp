#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace android {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/** Takes one character off the front of rest: its code point, or -1 and one byte if it is none. */
int32_t takeCodePoint(std::string_view* rest, std::string_view* bytes) {
    static constexpr int32_t kLowestOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>((*rest)[0]);
    const size_t length = first < 0x80             ? 1
                          : (first & 0xE0) == 0xC0 ? 2
                          : (first & 0xF0) == 0xE0 ? 3
                          : (first & 0xF8) == 0xF0 ? 4
                                                   : 0;
    bool valid = length > 0 && length <= rest->size();
    int32_t codePoint = length == 1 ? first : first & (0x7F >> length);
    for (size_t i = 1; valid && i < length; i++) {
        const auto next = static_cast<unsigned char>((*rest)[i]);
        valid = (next & 0xC0) == 0x80;
        codePoint = codePoint << 6 | (next & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    valid = valid && codePoint >= kLowestOfLength[length] && codePoint <= 0x10FFFF && !surrogate;
    *bytes = rest->substr(0, valid ? length : 1);
    rest->remove_prefix(bytes->size());
    return valid ? codePoint : -1;
}

/** C1 controls count as well: a terminal may obey them. */
bool isControl(int32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

std::string escape(std::string_view text, const char* controlFormat, std::string_view quoted) {
    std::string escaped;
    for (std::string_view bytes; !text.empty();) {
        const int32_t codePoint = takeCodePoint(&text, &bytes);
        if (codePoint < 0) {
            escaped += kReplacement;
        } else if (isControl(codePoint)) {
            char code[8];
            snprintf(code, sizeof(code), controlFormat, static_cast<unsigned>(codePoint));
            escaped += code;
        } else {
            escaped += quoted.find(bytes) != std::string_view::npos ? "\\" : "";
            escaped += bytes;
        }
    }
    return escaped;
}

}  // namespace

bool isUtf8(std::string_view text) {
    for (std::string_view bytes; !text.empty();) {
        if (takeCodePoint(&text, &bytes) < 0) {
            return false;
        }
    }
    return true;
}

std::string printable(std::string_view text) {
    return escape(text, "\\x%02x", "");
}

std::string jsonString(std::string_view text) {
    return "\"" + escape(text, "\\u%04x", "\"\\") + "\"";
}

void Report::string(const char* key, std::string_view value) {
    member(key, jsonString(value));
}

void Report::number(const char* key, int64_t value) {
    member(key, std::to_string(value));
}

void Report::flag(const char* key, bool value) {
    member(key, value ? "true" : "false");
}

void Report::list(const char* key, const std::vector<std::string>& values) {
    std::string elements;
    for (const std::string& value : values) {
        elements += (elements.empty() ? "" : ",") + jsonString(value);
    }
    member(key, "[" + elements + "]");
}

void Report::member(const char* key, const std::string& value) {
    mMembers += (mMembers.empty() ? "" : ",") + jsonString(key) + ":" + value;
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

Result printOut(const std::string& text) {
    const bool written = fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (written && fflush(stdout) == 0) {
        return {};
    }
    return {kFailed, std::string("cannot write the answer to standard output: ") + strerror(errno)};
}

void printError(const Result& result, bool json) {
    fprintf(stderr, "stallscopectl: %s\n", result.error.c_str());
    if (json) {
        Report report;
        report.string("error", result.error);
        report.number("exitStatus", result.status);
        (void)printOut(report.json());
    }
}

}  // namespace android
