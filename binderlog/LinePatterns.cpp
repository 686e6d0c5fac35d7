#include "binderlog/LinePatterns.h"

#include "binderlog/LineScanner.h"

namespace android {

namespace {

constexpr std::string_view kElapsed = "elapsed";

// Tries `match` behind each occurrence of `keyword`, wherever in the line: the search for the
// beginning of a match.
template <typename Match>
bool findStart(std::string_view line, std::string_view keyword, Match match) {
    return findKeyword(line, keyword, 0, line.size(), match);
}

// "\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)", behind "from".
bool matchPairs(Cursor* cursor, TransactionTexts* texts) {
    return cursor->spaces() && cursor->pair(&texts->fromPid, &texts->fromTid) && cursor->spaces() &&
           cursor->literal("to") && cursor->spaces() && cursor->pair(&texts->toPid, &texts->toTid);
}

// "\s+(\d+)ms", behind "elapsed".
bool matchMilliseconds(Cursor cursor, TransactionTexts* texts) {
    return cursor.spaces() && cursor.digits(&texts->elapsed) && cursor.literal("ms");
}

// "\s+(\w+).*?elapsed\s+(\d+)ms", behind "code".
bool matchWordCode(std::string_view line, Cursor cursor, Gap* elapsed, TransactionTexts* texts) {
    if (!cursor.spaces() || !cursor.word(&texts->code)) {
        return false;
    }
    auto milliseconds = [texts](Cursor at) { return matchMilliseconds(at, texts); };
    if (elapsed->find(cursor.position(), milliseconds)) {
        return true;
    }
    // The one place where the greedy \w+ has to give back what it took: the word runs into an
    // "elapsed" of its own, as in "code 5elapsed 12ms".
    size_t size = texts->code.size();
    if (size <= kElapsed.size() || texts->code.substr(size - kElapsed.size()) != kElapsed) {
        return false;
    }
    texts->code.remove_suffix(kElapsed.size());
    return milliseconds(Cursor(line, cursor.position()));
}

}  // namespace

// proc\s+(\d+)
bool findSectionPid(std::string_view line, std::string_view* pid) {
    return findStart(line, "proc", [pid](Cursor at) { return at.spaces() && at.digits(pid); });
}

// from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)\s+code\s+(\d+).*?elapsed\s+(\d+)ms
bool findNewStrict(std::string_view line, TransactionTexts* texts) {
    Gap elapsed(line, kElapsed);
    return findStart(line, "from", [&](Cursor at) {
        return matchPairs(&at, texts) && at.spaces() && at.literal("code") && at.spaces() &&
               at.digits(&texts->code) && elapsed.find(at.position(), [texts](Cursor behind) {
                   return matchMilliseconds(behind, texts);
               });
    });
}

// from\s+(\d+):(\d+).*?to\s+(\d+):(\d+).*?code\s+(\w+).*?elapsed\s+(\d+)ms
bool findNewLoose(std::string_view line, TransactionTexts* texts) {
    Gap to(line, "to");
    Gap code(line, "code");
    Gap elapsed(line, kElapsed);
    auto matchCode = [&](Cursor at) { return matchWordCode(line, at, &elapsed, texts); };
    auto matchTo = [&](Cursor at) {
        return at.spaces() && at.pair(&texts->toPid, &texts->toTid) &&
               code.find(at.position(), matchCode);
    };
    return findStart(line, "from", [&](Cursor at) {
        return at.spaces() && at.pair(&texts->fromPid, &texts->fromTid) &&
               to.find(at.position(), matchTo);
    });
}

// ZEVO\s+\w+\s+transaction:\s+from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+)
//     .*?code:\s*(\d+).*?duration:\s*([\d.]+)\s*s
bool findOldMarked(std::string_view line, TransactionTexts* texts) {
    Gap code(line, "code:");
    Gap duration(line, "duration:");
    auto matchDuration = [texts](Cursor at) {
        return at.optionalSpaces() && at.decimal(&texts->elapsed) && at.optionalSpaces() &&
               at.literal("s");
    };
    auto matchCode = [&](Cursor at) {
        return at.optionalSpaces() && at.digits(&texts->code) &&
               duration.find(at.position(), matchDuration);
    };
    return findStart(line, "ZEVO", [&](Cursor at) {
        std::string_view kind;
        return at.spaces() && at.word(&kind) && at.spaces() && at.literal("transaction:") &&
               at.spaces() && at.literal("from") && matchPairs(&at, texts) &&
               code.find(at.position(), matchCode);
    });
}

// from\s+(\d+):(\d+)\s+to\s+(\d+):(\d+).*?code\s+(\d+).*?duration\s+([\d.]+)\s*s
bool findOldPlain(std::string_view line, TransactionTexts* texts) {
    Gap code(line, "code");
    Gap duration(line, "duration");
    auto matchDuration = [texts](Cursor at) {
        return at.spaces() && at.decimal(&texts->elapsed) && at.optionalSpaces() && at.literal("s");
    };
    auto matchCode = [&](Cursor at) {
        return at.spaces() && at.digits(&texts->code) &&
               duration.find(at.position(), matchDuration);
    };
    return findStart(line, "from", [&](Cursor at) {
        return matchPairs(&at, texts) && code.find(at.position(), matchCode);
    });
}

}  // namespace android
