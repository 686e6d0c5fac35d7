#include "binderlog/TransactionGrammar.h"

#include <algorithm>

#include "binderlog/Duration.h"
#include "binderlog/LinePatterns.h"
#include "binderlog/LineScanner.h"
#include "logging/LogLine.h"

namespace android {

namespace {

// In the names of the parser's functions, which people search the log for.
constexpr char kNewGrammar[] = "parseTransactionAbove6_1";
constexpr char kOldGrammar[] = "parseTransactionBelow6_1";

// This many decimal digits always fit a signed 32-bit integer.
constexpr size_t kSafeDigits = 9;

// `digits` is one or more decimal digits. The long way round ends the process on a value that does
// not fit: the standard conversion throws and nobody catches.
int32_t toInt(std::string_view digits) {
    if (digits.size() > kSafeDigits) {
        return std::stoi(std::string(digits));
    }
    int32_t value = 0;
    for (char digit : digits) {
        value = value * 10 + (digit - '0');
    }
    return value;
}

double toSeconds(std::string_view milliseconds) {
    if (milliseconds.size() > kSafeDigits) {
        return static_cast<double>(std::stoll(std::string(milliseconds))) / 1000.0;
    }
    return toInt(milliseconds) / 1000.0;
}

// `text` is one or more decimal digits and points. Short ones, which nearly all are, are read
// without strtod: parsing an old-format log takes four fifths of the instructions.
double durationOf(std::string_view text) {
    constexpr double kPowersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    std::string_view whole = text.substr(0, text.find('.'));
    std::string_view fraction = text.substr(std::min(whole.size() + 1, text.size()));
    bool isShort = !whole.empty() && whole.size() + fraction.size() <= kSafeDigits &&
                   std::all_of(fraction.begin(), fraction.end(), isDigit);
    if (!isShort) {
        return extractDuration(std::string(text));
    }
    // Both numbers are exact, so their quotient is the double nearest to the text, as strtod's is.
    double scale = kPowersOfTen[fraction.size()];
    return (toInt(whole) * scale + toInt(fraction)) / scale;
}

// A code that is not all digits is hexadecimal, as the kernel writes all of them. One that begins
// with no hexadecimal digit ends the process, like one that does not fit.
int32_t toWordCode(std::string_view word) {
    bool isDecimal = std::all_of(word.begin(), word.end(), isDigit);
    return isDecimal ? toInt(word) : std::stoi(std::string(word), nullptr, 16);
}

void fillPairs(const TransactionTexts& texts, BinderTransaction* transaction) {
    transaction->fromPid = toInt(texts.fromPid);
    transaction->fromTid = toInt(texts.fromTid);
    transaction->toPid = toInt(texts.toPid);
    transaction->toTid = toInt(texts.toTid);
}

}  // namespace

// binder's print_binder_transaction_ilocked(). Upstream prints the elapsed time since 6.5; a line
// of a 6.1 kernel without it keeps its type alone:
//   outgoing transaction 71: 0000000076280f16 from 155:155 to 143:159 code 5f4e5446 flags 10
//       pri 0 r1 elapsed 2898ms
// (one line). The address between the colon and "from" is no hindrance, "code 5f..." is read as 5.
void readNewFormatLine(std::string_view line, BinderTransaction* transaction) {
    LOG_LINE(ANDROID_LOG_DEBUG, kNewGrammar, "parseTransactionAbove6_1: %s",
             std::string(line).c_str());
    TransactionTexts texts;
    if (findNewStrict(line, &texts)) {
        fillPairs(texts, transaction);
        transaction->code = toInt(texts.code);
        transaction->elapsed = toSeconds(texts.elapsed);
    } else if (findNewLoose(line, &texts)) {
        fillPairs(texts, transaction);
        transaction->code = toWordCode(texts.code);
        transaction->elapsed = toSeconds(texts.elapsed);
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kNewGrammar, "parseTransactionAbove6_1: %s",
             transaction->toString().c_str());
}

// A vendor kernel before 6.1:
//   ZEVO    outgoing transaction: from 1200:1213 to 1400:1422 code: 3 flags: 10 duration: 1.250 s
void readOldFormatLine(std::string_view line, BinderTransaction* transaction) {
    LOG_LINE(ANDROID_LOG_DEBUG, kOldGrammar, "parseTransactionBelow6_1: %s",
             std::string(line).c_str());
    TransactionTexts texts;
    if (findOldMarked(line, &texts) || findOldPlain(line, &texts)) {
        fillPairs(texts, transaction);
        transaction->code = toInt(texts.code);
        transaction->elapsed = durationOf(texts.elapsed);
    }
    LOG_LINE(ANDROID_LOG_DEBUG, kOldGrammar, "parseTransactionBelow6_1: %s",
             transaction->toString().c_str());
}

//   proc 1200
int readSectionPid(std::string_view line) {
    std::string_view pid;
    return findSectionPid(line, &pid) ? toInt(pid) : -1;
}

}  // namespace android
