#ifndef STALLSCOPE_BINDERLOG_LINESCANNER_H
#define STALLSCOPE_BINDERLOG_LINESCANNER_H

#include <cstddef>
#include <cstring>
#include <string_view>

namespace android {

// The character classes of an ECMAScript regular expression in the "C" locale.
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isWord(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
constexpr bool isDigitOrPoint(char c) {
    return isDigit(c) || c == '.';
}

// A place in a line. Each step matches one piece of a pattern there and moves behind it, or returns
// false. Every step takes all it can: that is what a backtracking matcher ends with too, as long as
// the piece behind it can't begin with what it took, which holds wherever these are used.
class Cursor {
  public:
    Cursor(std::string_view line, size_t position)
          : mBegin(line.data()), mAt(mBegin + position), mEnd(mBegin + line.size()) {}

    size_t position() const { return mAt - mBegin; }

    bool literal(std::string_view text) {
        if (static_cast<size_t>(mEnd - mAt) < text.size() ||
            memcmp(mAt, text.data(), text.size()) != 0) {
            return false;
        }
        mAt += text.size();
        return true;
    }
    // \s+
    bool spaces() { return run<isSpace>() > 0; }
    // \s*
    bool optionalSpaces() {
        run<isSpace>();
        return true;
    }
    // (\d+)
    bool digits(std::string_view* group) { return capture<isDigit>(group); }
    // (\w+)
    bool word(std::string_view* group) { return capture<isWord>(group); }
    // ([\d.]+)
    bool decimal(std::string_view* group) { return capture<isDigitOrPoint>(group); }
    // (\d+):(\d+)
    bool pair(std::string_view* pid, std::string_view* tid) {
        return digits(pid) && literal(":") && digits(tid);
    }

  private:
    // Moves over all characters of the class that follow; returns how many.
    template <bool (*isMember)(char)>
    size_t run() {
        const char* begin = mAt;
        const char* at = begin;  // a member would be stored at each step
        while (at != mEnd && isMember(*at)) {
            ++at;
        }
        mAt = at;
        return at - begin;
    }
    template <bool (*isMember)(char)>
    bool capture(std::string_view* group) {
        const char* begin = mAt;
        *group = std::string_view(begin, run<isMember>());
        return !group->empty();
    }

    const char* mBegin;
    const char* mAt;
    const char* mEnd;
};

// Tries `match` with a cursor behind each occurrence of `keyword` in [begin, end), in order, until
// one succeeds.
template <typename Match>
bool findKeyword(std::string_view line, std::string_view keyword, size_t begin, size_t end,
                 Match match) {
    std::string_view searched = line.substr(0, end);
    for (size_t at = searched.find(keyword, begin); at != std::string_view::npos;
         at = searched.find(keyword, at + keyword.size())) {
        if (match(Cursor(line, at + keyword.size()))) {
            return true;
        }
    }
    return false;
}

// ".*?" and a piece that begins with a keyword. The gap never crosses a line terminator, which for
// these patterns includes the carriage return, but the pieces around it may.
//
// A failed search is remembered: a later one that starts inside the stretch already searched fails
// at once. Matching a line therefore takes time linear in its length, however often the keywords
// are repeated in it.
class Gap {
  public:
    Gap(std::string_view line, std::string_view keyword) : mLine(line), mKeyword(keyword) {}

    template <typename Match>
    bool find(size_t begin, Match match) {
        if (begin >= mFailedBegin && begin <= mFailedEnd) {
            return false;
        }
        size_t end = terminatorAt(begin);
        if (findKeyword(mLine, mKeyword, begin, end, match)) {
            return true;
        }
        mFailedBegin = begin;
        mFailedEnd = end;
        return false;
    }

  private:
    size_t terminatorAt(size_t begin) const {
        std::string_view rest = mLine.substr(begin);
        rest = rest.substr(0, rest.find('\r'));
        rest = rest.substr(0, rest.find('\n'));
        return begin + rest.size();
    }

    std::string_view mLine;
    std::string_view mKeyword;
    size_t mFailedBegin = 1;  // an empty stretch
    size_t mFailedEnd = 0;
};

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_LINESCANNER_H
