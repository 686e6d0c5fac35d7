#include "analysis/output/CleanText.h"

#include <cstdint>

namespace stallscope {

namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";
constexpr std::string_view kEllipsis = "\xe2\x80\xa6";

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

// How many bytes the character that the text begins with takes; 0 when it is not valid.
size_t characterLength(std::string_view text, uint32_t* character) {
    static constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    auto first = static_cast<unsigned char>(text[0]);
    size_t length = first < 0x80 ? 1 : first < 0xc0 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (length == 0 || first >= 0xf8 || length > text.size()) {
        return 0;
    }
    *character = length == 1 ? first : first & (0x7fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) {
            return 0;
        }
        *character = *character << 6 | (static_cast<unsigned char>(text[i]) & 0x3f);
    }
    bool isSurrogate = *character >= 0xd800 && *character < 0xe000;
    return *character < kSmallest[length] || *character > 0x10ffff || isSurrogate ? 0 : length;
}

// Also those that turn the direction of the text around them, or end a line in a script.
bool isControl(uint32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0) ||
           (character >= 0x2028 && character <= 0x202e) ||
           (character >= 0x2066 && character <= 0x2069) || character == 0xfffe ||
           character == 0xffff;
}

// The text with what `shown` makes of each character, and U+FFFD for each byte that is part of
// none.
template <typename Shown>
std::string eachShown(std::string_view text, Shown shown) {
    std::string all;
    all.reserve(text.size());
    while (!text.empty()) {
        uint32_t character = 0;
        size_t length = characterLength(text, &character);
        all += length == 0 ? kReplacement : shown(character, text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return all;
}

}  // namespace

std::string cleanText(std::string_view text) {
    return eachShown(text, [](uint32_t character, std::string_view bytes) -> std::string_view {
        if (character == '\t' || character == '\n' || character == '\r') {
            return " ";
        }
        return isControl(character) ? kReplacement : bytes;
    });
}

std::string validText(std::string_view text) {
    return eachShown(text, [](uint32_t, std::string_view bytes) { return bytes; });
}

std::string shortened(std::string text, size_t most) {
    if (text.size() <= most) {
        return text;
    }
    size_t end = most < kEllipsis.size() ? 0 : most - kEllipsis.size();
    while (end > 0 && isContinuation(text[end])) {
        --end;
    }
    return text.replace(end, std::string::npos, kEllipsis);
}

std::string escapeHtml(std::string_view text) {
    std::string escaped;
    for (char each : text) {
        switch (each) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += each;
        }
    }
    return escaped;
}

}  // namespace stallscope
