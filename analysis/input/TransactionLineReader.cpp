#include "analysis/input/TransactionLineReader.h"

#include <algorithm>

namespace stallscope {

namespace {

// What has to stand in a line, as bits.
enum : unsigned { kFrom = 1, kTo = 2, kCode = 4, kFlags = 8 };

bool isPid(int number) {
    return number >= 0;
}

// "145:149"
bool readPair(std::string_view text, ThreadId* id) {
    size_t colon = text.find(':');
    ThreadId read;
    if (colon == std::string_view::npos || !readNumber(text.substr(0, colon), &read.pid) ||
        !readNumber(text.substr(colon + 1), &read.tid) || !isPid(read.pid) || !isPid(read.tid)) {
        return false;
    }
    *id = read;
    return true;
}

// "143:152", or "143" from the driver in Rust
bool readReceiver(std::string_view text, ThreadId* id) {
    if (readPair(text, id)) {
        return true;
    }
    int pid = 0;
    if (!readNumber(text, &pid) || !isPid(pid)) {
        return false;
    }
    *id = {pid, kNoTid};
    return true;
}

// "2898ms"
int64_t readElapsed(std::string_view text) {
    int64_t milliseconds = kNoTime;
    bool isWhole = takeSuffix(&text, "ms") && readNumber(text, &milliseconds);
    return isWhole && milliseconds >= 0 ? milliseconds : kNoTime;
}

// "1.250" of "1.250 s", whole milliseconds
int64_t readSeconds(std::string_view text) {
    constexpr int64_t kLongest = INT64_C(1) << 50;
    size_t point = std::min(text.find('.'), text.size());
    std::string_view fraction = text.substr(std::min(point + 1, text.size())).substr(0, 3);
    int64_t whole = 0;
    int64_t part = 0;
    if (!readNumber(text.substr(0, point), &whole) || whole < 0 || whole > kLongest ||
        (!fraction.empty() && (!readNumber(fraction, &part) || part < 0))) {
        return kNoTime;
    }
    for (size_t digits = fraction.size(); digits < 3; ++digits) {
        part *= 10;
    }
    return whole * 1000 + part;
}

// "1.250 s" or "3s"; without the unit the line was cut short, and so may be the number.
int64_t readDuration(Tokens* tokens) {
    std::string_view seconds = tokens->next();
    bool hasUnit = takeSuffix(&seconds, "s") || tokens->next() == "s";
    return hasUnit ? readSeconds(seconds) : kNoTime;
}

// "87:", which the vendor's form lacks
bool readDebugId(std::string_view token, int64_t* id) {
    return takeSuffix(&token, ":") && readNumber(token, id);
}

// Takes in the field that `word` begins; true when the line may still be a good one.
bool readField(std::string_view word, Tokens* tokens, TransactionLine* line, unsigned* found) {
    switch (word.front()) {
        case 'f':
            if (word == "from") {
                *found |= kFrom;
                return readPair(tokens->next(), &line->from);
            }
            if (word == "flags") {
                *found |= kFlags;
                return readNumber(tokens->next(), &line->flags, 16);
            }
            break;
        case 't':
            if (word == "to") {
                *found |= kTo;
                return readReceiver(tokens->next(), &line->to);
            }
            break;
        case 'c':
            if (word == "code") {
                *found |= kCode;
                return readNumber(tokens->next(), &line->code, 16);
            }
            break;
        case 'e':
            if (word == "elapsed") {
                line->timeMs = readElapsed(tokens->next());
            }
            break;
        case 'd':
            if (word == "duration") {
                line->timeMs = readDuration(tokens);
            }
            break;
        case 'n':
            if (word == "node") {
                readNumber(tokens->next(), &line->node);
            }
            break;
        default:
            break;
    }
    return true;
}

}  // namespace

// binder's print_binder_transaction_ilocked(), from 2010 to this day:
//   incoming transaction 8350: d4c1b1a0 from 613:613 to 622:628 code 2 flags 10 pri 0 r1 node 8345
//       size 100:0 data e4a00054
//   outgoing transaction 71: 0000000076280f16 from 155:155 to 143:159 code 5f4e5446 flags 10 pri 0
//       r1 elapsed 2898ms
//   pending async transaction 9: 00000000df from 7:7 to 8:0 code 1 flags 11 pri 0:120 a1 r0 elapsed
//       40ms node 5 size 0:0 offset 18
// a vendor's:
//   ZEVO    outgoing transaction: from 1200:1213 to 1400:1422 code: 3 flags: 10 duration: 1.250 s
// and the driver in Rust, Transaction::debug_print_inner():
//   outgoing transaction 12: from 5:6 to 7 code 3 flags 10 elapsed 40ms node 9 size 100:0
bool readTransactionLine(Tokens* tokens, bool isVendors, TransactionLine* line) {
    std::string_view word = tokens->next();
    takeSuffix(&word, ":");
    if (word != "transaction") {
        return false;
    }
    word = tokens->next();
    if (readDebugId(word, &line->debugId)) {
        word = tokens->next();
    }
    unsigned found = 0;
    for (; !word.empty(); word = tokens->next()) {
        takeSuffix(&word, ":");
        if (!word.empty() && !readField(word, tokens, line, &found)) {
            return false;
        }
    }
    // An older vendor's line may lack the flags: then its kind is all that is known.
    if (isVendors && (found & kFlags) == 0) {
        line->flags = line->kind == LineKind::kPendingAsync ? 1 : 0;
        found |= kFlags;
    }
    return found == (kFrom | kTo | kCode | kFlags);
}

}  // namespace stallscope
