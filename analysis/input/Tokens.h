#ifndef STALLSCOPE_ANALYSIS_INPUT_TOKENS_H
#define STALLSCOPE_ANALYSIS_INPUT_TOKENS_H

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace stallscope {

inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// The first blank from `at` on, or `end`. Eight bytes at a time where it can, since a log is little
// more than words: those below '!' have their high bit set in `low`, exactly so up to the first.
inline const char* findBlank(const char* at, const char* end) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    constexpr bool isFirstLowest = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    while (isFirstLowest && end - at >= 8) {
        uint64_t bytes = 0;
        memcpy(&bytes, at, sizeof(bytes));
        uint64_t low = (bytes - kOnes * '!') & ~bytes & kOnes * 0x80;
        at += low == 0 ? 8 : __builtin_ctzll(low) / 8;
        if (low != 0) {
            if (isBlank(*at)) {
                return at;
            }
            ++at;  // another control character
        }
    }
    while (at != end && !isBlank(*at)) {
        ++at;
    }
    return at;
}

// Without the blanks around it.
inline std::string_view trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// The words of a line, one after another.
class Tokens {
  public:
    explicit Tokens(std::string_view line) : mAt(line.data()), mEnd(mAt + line.size()) {}

    // The next word; empty at the end of the line.
    std::string_view next() {
        while (mAt != mEnd && isBlank(*mAt)) {
            ++mAt;
        }
        const char* begin = mAt;
        mAt = findBlank(mAt, mEnd);
        return std::string_view(begin, mAt - begin);
    }

    // What follows the last word, without the blanks around it.
    std::string_view rest() const {
        const char* begin = mAt;
        const char* end = mEnd;
        while (begin != end && isBlank(*begin)) {
            ++begin;
        }
        while (begin != end && isBlank(end[-1])) {
            --end;
        }
        return std::string_view(begin, end - begin);
    }

  private:
    const char* mAt;
    const char* mEnd;
};

// The lines of a text, without their ends.
class Lines {
  public:
    explicit Lines(std::string_view text) : mAt(text.data()), mEnd(mAt + text.size()) {}

    bool next(std::string_view* line) {
        if (mAt == mEnd) {
            return false;
        }
        auto* end = static_cast<const char*>(memchr(mAt, '\n', mEnd - mAt));
        const char* next = end == nullptr ? mEnd : end + 1;
        *line = std::string_view(mAt, (end == nullptr ? mEnd : end) - mAt);
        mLength = next - mAt;
        mAt = next;
        return true;
    }

    // Bytes of the last line, with its end if it has one.
    size_t length() const { return mLength; }

  private:
    const char* mAt;
    const char* mEnd;
    size_t mLength = 0;
};

// Fills *value when the whole text is a number that fits; otherwise leaves it and returns false.
template <typename Number>
bool readNumber(std::string_view text, Number* value, int base = 10) {
    Number number = 0;
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) {
        return false;
    }
    *value = number;
    return true;
}

inline bool beginsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// Takes `prefix` off the front of *text, if it is there.
inline bool takePrefix(std::string_view* text, std::string_view prefix) {
    bool isThere = beginsWith(*text, prefix);
    text->remove_prefix(isThere ? prefix.size() : 0);
    return isThere;
}

// Takes `suffix` off the end of *text, if it is there.
inline bool takeSuffix(std::string_view* text, std::string_view suffix) {
    if (text->size() < suffix.size() || text->substr(text->size() - suffix.size()) != suffix) {
        return false;
    }
    text->remove_suffix(suffix.size());
    return true;
}

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_TOKENS_H
