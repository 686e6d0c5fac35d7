#include "analysis/input/ProcessListReader.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

using Words = std::vector<std::string_view>;

constexpr size_t kNoColumn = static_cast<size_t>(-1);
constexpr size_t kLongestComm = 15;
constexpr size_t kMostColumns = 64;

// No more words than a row can have in front of the name.
Words wordsOf(std::string_view line) {
    Words words;
    Tokens tokens(line);
    for (std::string_view word = tokens.next(); !word.empty() && words.size() < kMostColumns;
         word = tokens.next()) {
        words.push_back(word);
    }
    return words;
}

// What the last column holds.
enum class NameKind { kProcess, kThread, kCommand };

// Where the header says that things stand in a row.
struct Columns {
    size_t pid = kNoColumn;
    size_t tid = kNoColumn;
    size_t parent = kNoColumn;
    size_t state = kNoColumn;
    size_t name = kNoColumn;
    NameKind kind = NameKind::kProcess;
    bool isToolbox = false;

    bool isKnown() const { return name != kNoColumn; }
};

size_t findColumn(const Words& header, std::initializer_list<std::string_view> titles) {
    auto found = std::find_first_of(header.begin(), header.end(), titles.begin(), titles.end());
    return found == header.end() ? kNoColumn : found - header.begin();
}

// toybox: "USER           PID   TID  PPID     VSZ    RSS WCHAN            ADDR S CMD"
// toolbox: "USER     PID   PPID  VSIZE  RSS     WCHAN    PC         NAME"
// toolbox prints a state between PC and NAME, but no title for it.
Columns readColumns(const Words& header) {
    Columns columns;
    columns.pid = findColumn(header, {"PID"});
    if (columns.pid == kNoColumn || header.size() < 2 || header.size() == kMostColumns) {
        return columns;
    }
    columns.tid = findColumn(header, {"TID", "LWP", "SPID"});
    columns.parent = findColumn(header, {"PPID"});
    columns.state = findColumn(header, {"S"});
    std::string_view last = header.back();
    if (last == "NAME") {
        columns.kind = NameKind::kProcess;
    } else if (last == "CMD" || last == "COMM" || last == "COMMAND" || last == "ARGS" ||
               last == "CMDLINE") {
        columns.kind = columns.tid == kNoColumn ? NameKind::kCommand : NameKind::kThread;
    } else {
        return columns;
    }
    columns.name = header.size() - 1;
    columns.isToolbox = columns.state == kNoColumn && header[columns.name - 1] == "PC";
    if (columns.isToolbox) {
        columns.state = columns.name++;
    }
    return columns;
}

bool isState(std::string_view word) {
    constexpr std::string_view kLetters = "RSDTtWXxZKPI";
    return word.size() == 1 && kLetters.find(word.front()) != std::string_view::npos;
}

// One cell before the state is blank where the kernel told nothing: the channel that it waits in.
size_t blankCells(const Columns& columns, const Words& row) {
    size_t state = columns.state;
    bool isEarly = state != kNoColumn && state > 0 && state <= row.size() &&
                   (state == row.size() || !isState(row[state])) && isState(row[state - 1]);
    return isEarly ? 1 : 0;
}

bool readCell(const Words& row, size_t column, int* number) {
    return column < row.size() && readNumber(row[column], number) && *number > 0;
}

// "/system/bin/rild -c 2" without its arguments, but "pool 1 worker" as it stands
std::string_view commandOf(std::string_view line) {
    return beginsWith(line, "/") ? Tokens(line).next() : line;
}

class RowReader {
  public:
    explicit RowReader(Names* names) : mNames(names) {}

    bool read(std::string_view line) {
        Words words = wordsOf(line);
        return (mColumns.isKnown() && readRow(line, words)) || readHeader(words);
    }

  private:
    bool readHeader(const Words& words) {
        Columns columns = readColumns(words);
        if (columns.isKnown()) {
            mColumns = columns;
        }
        return columns.isKnown();
    }

    bool readRow(std::string_view line, const Words& words) {
        size_t name = mColumns.name - blankCells(mColumns, words);
        int pid = 0;
        int tid = 0;
        bool hasTid = mColumns.tid != kNoColumn;
        if (name >= words.size() || !readCell(words, mColumns.pid, &pid) ||
            (hasTid && !readCell(words, mColumns.tid, &tid))) {
            return false;
        }
        std::string_view text = trim(line.substr(words[name].data() - line.data()));
        switch (mColumns.kind) {
            case NameKind::kThread:
                addThread({pid, tid}, text);
                break;
            case NameKind::kCommand:
                addCommand(pid, commandOf(text));
                break;
            case NameKind::kProcess:
                mNames->setProcess(pid, text, NameOrigin::kProcessList);
                addPossibleThread(words, pid, text);
                break;
        }
        return true;
    }

    void addThread(ThreadId id, std::string_view name) {
        mNames->setThread(id, name, NameOrigin::kComm);
        if (id.pid == id.tid) {
            mNames->setProcess(id.pid, name, NameOrigin::kComm);
        }
    }

    // The column may hold what the kernel has cut, or all that the process was started with.
    void addCommand(int pid, std::string_view name) {
        bool mayBeCut = name.size() <= kLongestComm;
        mNames->setProcess(pid, name, mayBeCut ? NameOrigin::kComm : NameOrigin::kProcessList);
    }

    // toolbox lists threads as if they were children of their process. Since no thread has the
    // number of a process, a child taken for a thread names nothing that is asked for.
    void addPossibleThread(const Words& words, int pid, std::string_view name) {
        int parent = 0;
        if (mColumns.isToolbox && readCell(words, mColumns.parent, &parent)) {
            mNames->setThread({parent, pid}, name, NameOrigin::kComm);
        }
    }

    Names* mNames;
    Columns mColumns;
};

}  // namespace

void readProcessList(const TextPiece& piece, Names* names, LineCount* count) {
    RowReader reader(names);
    Lines lines(piece.text);
    uint32_t number = piece.firstLine;
    for (std::string_view line; lines.next(&line); ++number) {
        if (trim(line).empty()) {
            ++count->ignored;
        } else if (reader.read(line)) {
            ++count->read;
        } else {
            count->skip({piece.source, number}, line);
        }
    }
}

bool looksLikeProcessList(std::string_view text) {
    Lines lines(text);
    for (std::string_view line; lines.next(&line);) {
        if (!trim(line).empty()) {
            return readColumns(wordsOf(line)).isKnown();
        }
    }
    return false;
}

}  // namespace stallscope
