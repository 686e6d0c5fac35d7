#include "analysis/input/PlainText.h"

#include <vector>

#include "analysis/input/BinderLogReader.h"
#include "analysis/input/ProcessListReader.h"
#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kDumpBegin = "----- pid ";
constexpr std::string_view kDumpEnd = "----- end ";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// The text in turns: outside of the dumps' sections, inside, outside, and so on.
std::vector<TextPiece> splitAtDumps(const TextPiece& whole) {
    std::vector<TextPiece> pieces;
    bool isInside = false;
    size_t begin = 0;
    size_t at = 0;
    uint32_t beginLine = whole.firstLine;
    uint32_t number = whole.firstLine;
    auto cut = [&](size_t end, uint32_t endLine) {
        pieces.push_back({whole.text.substr(begin, end - begin), whole.source, beginLine});
        begin = end;
        beginLine = endLine;
        isInside = !isInside;
    };
    Lines lines(whole.text);
    for (std::string_view line; lines.next(&line); ++number) {
        if (!isInside && startsWith(line, kDumpBegin)) {
            cut(at, number);
        } else if (isInside && startsWith(line, kDumpEnd)) {
            cut(at + lines.length(), number + 1);
        }
        at += lines.length();
    }
    cut(at, number);
    return pieces;
}

void readLog(const TextPiece& piece, Snapshot* snapshot) {
    if (!snapshot->log) {
        snapshot->log.emplace();
    }
    readBinderLog(piece, &*snapshot->log, &snapshot->lines);
}

// Dumps, and logs between them: whoever saves both at one moment may put them into one file.
void readMixed(const TextPiece& whole, Snapshot* snapshot) {
    std::vector<TextPiece> dumps;
    bool isInside = false;
    bool continues = false;  // the piece before belongs to the last of `dumps`
    for (const TextPiece& piece : splitAtDumps(whole)) {
        bool isLog = !isInside && looksLikeBinderLog(piece.text);
        if (isLog) {
            readLog(piece, snapshot);
        } else if (continues) {
            std::string_view& text = dumps.back().text;
            text = {text.data(), text.size() + piece.text.size()};
        } else {
            dumps.push_back(piece);
        }
        continues = !isLog;
        isInside = !isInside;
    }
    for (const TextPiece& each : dumps) {
        readThreadDumps(each, &snapshot->dumps, &snapshot->lines);
    }
}

}  // namespace

bool readPlainText(const TextPiece& piece, Snapshot* snapshot) {
    if (looksLikeThreadDump(piece.text)) {
        snapshot->format = InputFormat::kThreadDump;
        readMixed(piece, snapshot);
        if (snapshot->log) {
            snapshot->format = InputFormat::kBinderLog;
        }
        return true;
    }
    if (looksLikeBinderLog(piece.text)) {
        snapshot->format = InputFormat::kBinderLog;
        uint64_t skipped = snapshot->lines.skipped;
        LineCount before = snapshot->lines;
        readLog(piece, snapshot);
        if (snapshot->lines.skipped > skipped &&
            piece.text.find(kDumpBegin) != std::string_view::npos) {
            snapshot->log.reset();
            snapshot->lines = before;
            readMixed(piece, snapshot);
        }
        return true;
    }
    if (looksLikeProcessList(piece.text)) {
        snapshot->format = InputFormat::kProcessList;
        readProcessList(piece, &snapshot->names, &snapshot->lines);
        return true;
    }
    return false;
}

}  // namespace stallscope
