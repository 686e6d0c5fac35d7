#include "analysis/input/PlainText.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "analysis/input/BinderLogReader.h"
#include "analysis/input/ProcessListReader.h"
#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

enum class Kind { kLog, kState, kDumps, kProcesses };

constexpr size_t kDateLength = 19;  // "2026-11-21 21:18:39", ahead of a JVM's dump

struct Part {
    Kind kind;
    TextPiece piece;
};

bool mayBeginDump(char first) {
    constexpr std::string_view kFirst = "-\"FDB0123456789";
    return kFirst.find(first) != std::string_view::npos;
}

bool mayBeginList(char first) {
    constexpr std::string_view kFirst = "ULPF ";
    return kFirst.find(first) != std::string_view::npos;
}

// The kind of text that a line begins; none when it goes on with what it stands in. Cheap for the
// lines that there are many of.
std::optional<Kind> kindBegunBy(std::string_view line, std::optional<Kind> current) {
    if (line.empty() || (current && isBlank(line.front()))) {
        return {};
    }
    char first = line.front();
    bool isInState = current == Kind::kState;
    if (first == 'b' && beginsWith(line, "binder state:")) {
        return Kind::kState;
    }
    if ((first == 'b' || (first == 'p' && !isInState)) && current != Kind::kLog &&
        looksLikeBinderLog(line)) {
        return Kind::kLog;
    }
    if (current != Kind::kDumps && mayBeginDump(first) &&
        (looksLikeThreadDump(line) || (line.size() == kDateLength && readMoment(line)))) {
        return Kind::kDumps;
    }
    bool isList = current != Kind::kProcesses && mayBeginList(first) && looksLikeProcessList(line);
    return isList ? std::optional<Kind>(Kind::kProcesses) : std::nullopt;
}

Kind kindOf(std::string_view text) {
    return looksLikeBinderLog(text)    ? Kind::kLog
           : looksLikeThreadDump(text) ? Kind::kDumps
                                       : Kind::kProcesses;
}

// What stands ahead of the first part that is known belongs to it.
std::vector<Part> split(const TextPiece& whole) {
    std::vector<Part> parts;
    std::optional<Kind> current;
    size_t begin = 0;
    size_t at = 0;
    uint32_t firstLine = whole.firstLine;
    uint32_t number = whole.firstLine;
    auto cut = [&] {
        if (current) {
            std::string_view text = whole.text.substr(begin, at - begin);
            parts.push_back({*current, {text, whole.source, firstLine}});
            begin = at;
            firstLine = number;
        }
    };
    Lines lines(whole.text);
    for (std::string_view line; lines.next(&line); ++number) {
        std::optional<Kind> kind = kindBegunBy(line, current);
        if (kind && kind != current) {
            cut();
            current = kind;
        }
        at += lines.length();
    }
    cut();
    if (parts.empty()) {  // what is known is indented
        parts.push_back({kindOf(whole.text), whole});
    }
    return parts;
}

// Takes blank lines off the end of a log that something follows: it is measured.
void trimEnd(TextPiece* piece, LineCount* count) {
    for (;;) {
        std::string_view last = piece->text;
        takeSuffix(&last, "\n");
        last.remove_prefix(last.rfind('\n') + 1);  // npos + 1 is 0
        if (piece->text.empty() || !trim(last).empty()) {
            return;
        }
        piece->text = piece->text.substr(0, last.data() - piece->text.data());
        ++count->ignored;
    }
}

void readLog(TextPiece piece, bool isAlone, Snapshot* snapshot) {
    if (!isAlone) {
        trimEnd(&piece, &snapshot->lines);
    }
    if (!snapshot->log) {
        snapshot->log.emplace();
    }
    readBinderLog(piece, &*snapshot->log, &snapshot->lines);
}

void readPart(const Part& part, bool isAlone, bool hasLog, Snapshot* snapshot) {
    switch (part.kind) {
        case Kind::kLog:
            readLog(part.piece, isAlone, snapshot);
            break;
        case Kind::kState:
            // It has all calls too, and stands for the log where that is missing.
            if (hasLog) {
                readBinderState(part.piece, &snapshot->poolThreads, &snapshot->lines);
            } else {
                readLog(part.piece, isAlone, snapshot);
            }
            break;
        case Kind::kDumps:
            readThreadDumps(part.piece, &snapshot->dumps, &snapshot->lines);
            break;
        case Kind::kProcesses:
            readProcessList(part.piece, &snapshot->names, &snapshot->lines);
            break;
    }
}

}  // namespace

bool looksLikePlainText(std::string_view text) {
    return looksLikeBinderLog(text) || looksLikeThreadDump(text) || looksLikeProcessList(text);
}

void readPlainText(const TextPiece& piece, Snapshot* snapshot) {
    std::vector<Part> parts = split(piece);
    auto has = [&](Kind kind) {
        return std::any_of(parts.begin(), parts.end(),
                           [=](const Part& each) { return each.kind == kind; });
    };
    bool hasLog = has(Kind::kLog);
    for (const Part& each : parts) {
        readPart(each, parts.size() == 1, hasLog, snapshot);
    }
    snapshot->format = hasLog || has(Kind::kState) ? InputFormat::kBinderLog
                       : has(Kind::kDumps)         ? InputFormat::kThreadDump
                                                   : InputFormat::kProcessList;
}

}  // namespace stallscope
