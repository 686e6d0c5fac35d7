#include "tests/fuzz/LineGenerator.h"

#include <algorithm>
#include <string_view>

namespace android::test {

namespace {

// Pieces of a pattern. Those in angle brackets stand for a class of texts.
using Piece = std::string_view;
constexpr Piece kSpaces = "< >";
constexpr Piece kNumber = "<1>";
constexpr Piece kWord = "<w>";
constexpr Piece kDecimal = "<.>";
constexpr Piece kGap = "<*>";

constexpr Piece kSection[] = {"proc", kSpaces, kNumber};
constexpr Piece kNew[] = {"from",  kSpaces, kNumber,   ":",     kNumber, kSpaces, "to",
                          kSpaces, kNumber, ":",       kNumber, kSpaces, "code",  kSpaces,
                          kNumber, kGap,    "elapsed", kSpaces, kNumber, "ms"};
constexpr Piece kLoose[] = {"from",  kSpaces, kNumber,   ":",     kNumber, kGap,   "to",
                            kSpaces, kNumber, ":",       kNumber, kGap,    "code", kSpaces,
                            kWord,   kGap,    "elapsed", kSpaces, kNumber, "ms"};
constexpr Piece kMarked[] = {
        "ZEVO",  kSpaces, kWord,   kSpaces, "transaction:", kSpaces, "from",   kSpaces, kNumber,
        ":",     kNumber, kSpaces, "to",    kSpaces,        kNumber, ":",      kNumber, kGap,
        "code:", kSpaces, kNumber, kGap,    "duration:",    kSpaces, kDecimal, kSpaces, "s"};
constexpr Piece kPlain[] = {"from",  kSpaces, kNumber,    ":",     kNumber,  kSpaces, "to",
                            kSpaces, kNumber, ":",        kNumber, kGap,     "code",  kSpaces,
                            kNumber, kGap,    "duration", kSpaces, kDecimal, kSpaces, "s"};

constexpr Piece kAnyPiece[] = {
        kSpaces,        kNumber,    kWord,       kDecimal,      "from",    "to",
        "code",         "code:",    "elapsed",   "ms",          "proc",    "ZEVO",
        "transaction:", "duration", "duration:", "s",           ":",       ".",
        "\r",           "\n",       "fro",       "elapse",      " ",       "from 1:2",
        "to 3:4",       "code 5",   "code a",    "elapsed 6ms", "code: 7", "duration 8 s",
        "duration: 9 s"};

constexpr Piece kSomeSpaces[] = {" ",  " ",  " ",  " ",   "  ",  "\t", "\n",
                                 "\v", "\f", "\r", "\r ", " \t", ""};
constexpr Piece kSomeNumbers[] = {
        "1", "1", "22", "0", "007", "4096", "2147483647", "2147483648", "99999999999999999999"};
constexpr Piece kSomeWords[] = {
        "5f",        "abcdef",   "elapsed",       "5elapsed", "aelapsedelapsed",
        "xelapsedz", "_",        "0x1f",          "outgoing", "codecode",
        "ZEVO",      "9",        "pending async", "to",       "from",
        "-",         "\xc3\xa9", "a\xc3\xa9"};
constexpr Piece kSomeDecimals[] = {"1.250", "3", ".", "1.2.3", "...", "12", "0.5"};

struct Template {
    const Piece* pieces;
    size_t count;
};

template <size_t count>
constexpr Template templateOf(const Piece (&pieces)[count]) {
    return {pieces, count};
}

constexpr Template kTemplates[] = {templateOf(kNew),    templateOf(kLoose),  templateOf(kMarked),
                                   templateOf(kPlain),  templateOf(kNew),    templateOf(kLoose),
                                   templateOf(kMarked), templateOf(kSection)};

void append(std::string* line, Piece piece, Choices* choices) {
    if (piece == kSpaces) {
        line->append(choices->among(kSomeSpaces));
    } else if (piece == kNumber) {
        line->append(choices->among(kSomeNumbers));
    } else if (piece == kWord) {
        line->append(choices->among(kSomeWords));
    } else if (piece == kDecimal) {
        line->append(choices->among(kSomeDecimals));
    } else if (piece == kGap) {
        for (unsigned count = choices->below(4); count > 0; --count) {
            append(line, choices->among(kAnyPiece), choices);
        }
    } else {
        line->append(piece);
    }
}

// A piece, with one of the things that can be wrong with it.
void appendWrong(std::string* line, Piece piece, Choices* choices) {
    size_t begin = line->size();
    switch (choices->below(6)) {
        case 0:  // left out
            return;
        case 1:  // twice
            append(line, piece, choices);
            append(line, piece, choices);
            return;
        case 2:  // another one
            append(line, choices->among(kAnyPiece), choices);
            return;
        case 3:  // another one before it
            append(line, choices->among(kAnyPiece), choices);
            append(line, piece, choices);
            return;
        case 4:  // any character behind it
            append(line, piece, choices);
            line->push_back(static_cast<char>(choices->below(256)));
            return;
        case 5:  // cut short
            append(line, piece, choices);
            if (line->size() > begin) {
                line->pop_back();
            }
            return;
    }
}

// One pattern's pieces, about one in `errorDistance` of them wrong.
void appendTemplate(std::string* line, unsigned errorDistance, Choices* choices) {
    const Template& chosen = choices->among(kTemplates);
    // A second attempt often needs only the end of a pattern.
    size_t first = choices->oneIn(4) ? choices->below(chosen.count) : 0;
    for (size_t i = first; i < chosen.count; ++i) {
        if (choices->oneIn(errorDistance)) {
            appendWrong(line, chosen.pieces[i], choices);
        } else {
            append(line, chosen.pieces[i], choices);
        }
    }
}

}  // namespace

std::string generateLine(Choices* choices, bool isOneLine) {
    std::string line;
    constexpr unsigned kErrorDistances[] = {10, 30, 100, 250};
    unsigned errorDistance = choices->among(kErrorDistances);
    do {
        appendTemplate(&line, errorDistance, choices);
    } while (choices->oneIn(3) && line.size() < 300);
    if (!line.empty() && choices->oneIn(8)) {
        line[choices->below(std::min<size_t>(line.size(), 256))] =
                static_cast<char>(choices->below(256));
    }
    if (isOneLine) {
        std::replace(line.begin(), line.end(), '\n', '\v');
    }
    return line;
}

std::string escape(const std::string& line) {
    std::string text;
    for (char c : line) {
        size_t place = std::string_view("\r\n\v\f\t\0\\", 7).find(c);
        if (place == std::string_view::npos) {
            text += c;
        } else {
            text += '\\';
            text += "rnvft0\\"[place];
        }
    }
    return text;
}

}  // namespace android::test
