#include "analysis/input/BinderLogReader.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "analysis/input/Tokens.h"
#include "analysis/input/TransactionLineReader.h"

namespace stallscope {

namespace {

constexpr uint32_t kNoSection = 0xffffffff;
constexpr std::string_view kVendorMark = "ZEVO";

enum class Verdict { kRead, kIgnored, kSkipped };

// "proc 12" and nothing else
bool readPid(Tokens* tokens, int* pid) {
    return readNumber(tokens->next(), pid) && *pid > 0 && tokens->next().empty();
}

// "12:" behind "thread" or "node"
template <typename Number>
bool readHeaderNumber(Tokens* tokens, Number* number) {
    std::string_view word = tokens->next();
    return takeSuffix(&word, ":") && readNumber(word, number);
}

// Files the lines of a binder log, each of which it knows by its first words.
class Scanner {
  public:
    Scanner(uint32_t source, BinderLog* log) : mLog(log) {
        mPlace.source = source;
        for (const std::string& each : log->contexts) {
            mContexts.try_emplace(each, static_cast<uint32_t>(mContexts.size()));
        }
    }

    Verdict read(std::string_view line, uint32_t number) {
        mPlace.line = number;
        Tokens tokens(line);
        std::string_view word = tokens.next();
        bool isVendors = word == kVendorMark;
        if (isVendors) {
            word = tokens.next();
        }
        if (word.empty()) {
            return Verdict::kIgnored;
        }
        return readKind(word, &tokens, isVendors);
    }

    void finish() {
        if (mSection != kNoSection) {
            mLog->sections[mSection].threads.end = static_cast<uint32_t>(mLog->threads.size());
        }
    }

    bool hasAllTitle() const { return mHasAllTitle; }

  private:
    Verdict readKind(std::string_view word, Tokens* tokens, bool isVendors) {
        if (word == "outgoing") {
            return readFrame(LineKind::kOutgoing, tokens, isVendors);
        }
        if (word == "incoming") {
            return readFrame(LineKind::kIncoming, tokens, isVendors);
        }
        if (word == "pending") {
            return readPending(tokens, isVendors);
        }
        if (word == "thread") {
            return readThread(tokens);
        }
        if (word == "proc") {
            return readSection(tokens);
        }
        if (word == "context") {
            return readContext(tokens);
        }
        if (word == "node") {
            return readNode(tokens);
        }
        return isKnown(word, tokens) ? Verdict::kIgnored : Verdict::kSkipped;
    }

    // What the driver prints besides: nothing of it tells who waits.
    bool isKnown(std::string_view word, Tokens* tokens) {
        if (word == "binder") {
            // "binder state:" and "binder proc state:" are the titles of logs that are never cut.
            mHasAllTitle = mHasAllTitle || takeSuffix(&(word = tokens->rest()), "state:");
            return true;
        }
        return word == "buffer" || word == "transaction" || word == "ref" || word == "has" ||
               word == "bad" || word == "unknown" || word == "dead";
    }

    // binder's print_binder_proc():
    //   proc 143
    Verdict readSection(Tokens* tokens) {
        finish();
        mSection = kNoSection;
        mThread = false;
        mNode = kNoNode;
        int pid = 0;
        if (!readPid(tokens, &pid)) {
            return Verdict::kSkipped;
        }
        mSection = static_cast<uint32_t>(mLog->sections.size());
        BinderSection& section = mLog->sections.emplace_back();
        section.pid = pid;
        section.place = mPlace;
        section.threads.begin = static_cast<uint32_t>(mLog->threads.size());
        return Verdict::kRead;
    }

    //   context hwbinder
    Verdict readContext(Tokens* tokens) {
        std::string_view name = tokens->rest();
        if (mSection == kNoSection || name.empty()) {
            return Verdict::kSkipped;
        }
        auto [context, isNew] =
                mContexts.try_emplace(std::string(name), static_cast<uint32_t>(mContexts.size()));
        mLog->sections[mSection].context = context->second;
        if (isNew) {
            mLog->contexts.push_back(context->first);
        }
        return Verdict::kRead;
    }

    // binder's print_binder_thread_ilocked():
    //   thread 151: l 12 need_return 0 tr 0
    Verdict readThread(Tokens* tokens) {
        mThread = false;
        BinderThread thread;
        if (mSection == kNoSection || !readHeaderNumber(tokens, &thread.tid) || thread.tid <= 0) {
            return Verdict::kSkipped;
        }
        for (std::string_view word = tokens->next(); !word.empty(); word = tokens->next()) {
            if (word == "l") {
                readNumber(tokens->next(), &thread.looper, 16);
                break;
            }
        }
        thread.section = mSection;
        thread.place = mPlace;
        thread.frames.begin = thread.frames.end = static_cast<uint32_t>(mLog->frames.size());
        mLog->threads.push_back(thread);
        mThread = true;
        return Verdict::kRead;
    }

    Verdict readFrame(LineKind kind, Tokens* tokens, bool isVendors) {
        TransactionLine& line = mLog->frames.emplace_back();
        if (!readCall(kind, tokens, isVendors, &line) || !mThread) {
            mLog->frames.pop_back();
            return Verdict::kSkipped;
        }
        mLog->threads.back().frames.end = static_cast<uint32_t>(mLog->frames.size());
        return Verdict::kRead;
    }

    Verdict readPending(Tokens* tokens, bool isVendors) {
        Tokens ahead = *tokens;
        bool isAsync = ahead.next() == "async";
        PendingCall& pending = mLog->pending.emplace_back();
        pending.section = mSection;
        pending.headerNode = mNode;
        if (!readCall(isAsync ? LineKind::kPendingAsync : LineKind::kPending,
                      isAsync ? &ahead : tokens, isVendors, &pending.call) ||
            mSection == kNoSection) {
            mLog->pending.pop_back();
            return Verdict::kSkipped;
        }
        return Verdict::kRead;
    }

    bool readCall(LineKind kind, Tokens* tokens, bool isVendors, TransactionLine* line) {
        line->kind = kind;
        line->place = mPlace;
        if (!readTransactionLine(tokens, isVendors, line)) {
            return false;
        }
        mLog->hasVendorForm = mLog->hasVendorForm || isVendors;
        mLog->hasRustForm = mLog->hasRustForm || line->to.tid == kNoTid;
        return true;
    }

    // binder's print_binder_node_nilocked():
    //   node 7: u0000558aa7f79580 c0000558aa7f79550 hs 1 hw 1 ls 5 lw 0 is 3 iw 3 tr 1 proc 154
    // The other line that begins with this word is "node work 7: u... c...".
    Verdict readNode(Tokens* tokens) {
        Tokens ahead = *tokens;
        if (ahead.next() == "work") {
            return Verdict::kIgnored;
        }
        return readHeaderNumber(tokens, &mNode) ? Verdict::kRead : Verdict::kSkipped;
    }

    BinderLog* mLog;
    std::unordered_map<std::string, uint32_t> mContexts;  // the places of BinderLog::contexts
    Place mPlace;
    uint32_t mSection = kNoSection;
    bool mThread = false;  // the last thread read is the one whose lines follow
    int64_t mNode = kNoNode;
    bool mHasAllTitle = false;
};

// Reads all lines; returns the length of the longest, with its end.
size_t scan(const TextPiece& piece, Scanner* scanner, LineCount* count) {
    size_t longest = 0;
    uint32_t number = piece.firstLine;
    Lines lines(piece.text);
    for (std::string_view line; lines.next(&line); ++number) {
        longest = std::max(longest, lines.length());
        switch (scanner->read(line, number)) {
            case Verdict::kRead:
                ++count->read;
                break;
            case Verdict::kIgnored:
                ++count->ignored;
                break;
            case Verdict::kSkipped:
                count->skip({piece.source, number}, line);
                break;
        }
    }
    scanner->finish();
    return longest;
}

// Room for what a long log is likely to have, before its first piece. What is never used is never
// touched, while growing by doubling touches all of it twice.
void reserveFor(size_t length, BinderLog* log) {
    log->sections.reserve(length / 1024);
    log->threads.reserve(length / 256);
    log->frames.reserve(length / 256);
    log->pending.reserve(length / 1024);
}

}  // namespace

void readBinderLog(const TextPiece& piece, BinderLog* log, LineCount* count) {
    if (log->sections.empty()) {
        reserveFor(piece.text.size(), log);
    }
    Scanner scanner(piece.source, log);
    size_t longest = scan(piece, &scanner, count);
    if (!scanner.hasAllTitle()) {
        log->complete = log->complete && isCompleteLength(piece.text.size(), longest);
    }
}

void readBinderState(const TextPiece& piece, std::vector<PoolThread>* threads, LineCount* count) {
    BinderLog log;
    Scanner scanner(piece.source, &log);
    scan(piece, &scanner, count);
    for (const BinderThread& each : log.threads) {
        if (each.isPoolThread()) {
            const std::string& context = log.contexts[log.sections[each.section].context];
            threads->push_back({log.idOf(each), context, each.place});
        }
    }
}

bool isCompleteLength(uint64_t length, uint64_t longestLine) {
    uint64_t buffer = 4096;
    while (buffer <= length) {
        buffer *= 2;
    }
    return buffer - length > longestLine;
}

bool looksLikeBinderLog(std::string_view text) {
    constexpr size_t kFarEnough = 64 * 1024;
    Lines lines(text.substr(0, kFarEnough));
    for (std::string_view line; lines.next(&line);) {
        Tokens tokens(line);
        std::string_view word = tokens.next();
        int pid = 0;
        if ((word == "proc" && readPid(&tokens, &pid)) ||
            (word == "binder" && (tokens.rest() == "transactions:" || tokens.rest() == "state:" ||
                                  tokens.rest() == "proc state:"))) {
            return true;
        }
    }
    return false;
}

}  // namespace stallscope
