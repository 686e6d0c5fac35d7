#include "binderlog/BinderLogParser.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "binderlog/LineReader.h"
#include "binderlog/TransactionGrammar.h"
#include "logging/LogLine.h"

namespace android {

namespace {

constexpr std::string_view kSectionStart = "proc ";
constexpr int kNoPid = -1;

// True when the line has both texts, one before and one behind the place.
inline bool standAround(std::string_view line, size_t place, std::string_view before,
                        std::string_view behind) {
    return place >= before.size() && line.size() - place >= behind.size() &&
           memcmp(line.data() + place - before.size(), before.data(), before.size()) == 0 &&
           memcmp(line.data() + place, behind.data(), behind.size()) == 0;
}

// The type of the transaction line, or null for a line of another kind. A line with several of the
// texts is outgoing before it is incoming, and either before it is pending. All texts have a "g ";
// other lines, which are most of a log, don't even have the letter and end in one search.
const std::string* classifyLine(std::string_view line) {
    static const std::string outgoing(kOutgoing);
    static const std::string incoming(kIncoming);
    static const std::string pendingAsync(kPendingAsync);
    const std::string* type = nullptr;
    for (size_t g = 0; (g = line.find("g ", g)) != std::string_view::npos; ++g) {
        if (standAround(line, g, "outgoin", "g transaction")) {
            type = &outgoing;
            break;
        }
        if (standAround(line, g, "incomin", "g transaction")) {
            type = &incoming;
        } else if (type == nullptr && standAround(line, g, "pendin", "g async transaction")) {
            type = &pendingAsync;
        }
    }
    if (type != nullptr && !supportNewBinderLogFormat &&
        line.find("ZEVO") == std::string_view::npos) {
        return nullptr;
    }
    return type;
}

// Empties `records` into `list`. Most lists are short and are made to measure here: letting each of
// them grow would take a third more memory. A long one is handed over as it is.
void moveTo(std::vector<BinderTransaction>* list, std::vector<BinderTransaction>* records) {
    constexpr size_t kLong = 256;
    if (list->empty() && records->size() >= kLong) {
        list->swap(*records);
        return;
    }
    list->insert(list->end(), std::make_move_iterator(records->begin()),
                 std::make_move_iterator(records->end()));
    records->clear();
}

}  // namespace

bool BinderLogParser::parse(const std::string& path) {
    processTransactions.clear();
    LineReader reader(path);
    if (!reader.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Can't open file: %s", path.c_str());
        return false;
    }
    // The section being read and its records; none before the first valid header.
    auto section = processTransactions.end();
    std::vector<BinderTransaction> records;
    std::string_view line;
    while (reader.next(&line)) {
        LOG_LINE(ANDROID_LOG_DEBUG, __func__, "line: %s", line.data());
        if (line.substr(0, kSectionStart.size()) == kSectionStart) {
            if (!records.empty()) {
                moveTo(&section->second, &records);
            }
            section = enterSection(readSectionPid(line), section);
        } else if (const std::string* type = classifyLine(line);
                   type != nullptr && section != processTransactions.end()) {
            records.emplace_back().type = *type;
            (supportNewBinderLogFormat ? readNewFormatLine : readOldFormatLine)(line,
                                                                                &records.back());
        }
    }
    if (!records.empty()) {
        moveTo(&section->second, &records);
    }
    return true;
}

BinderLogParser::Sections::iterator BinderLogParser::enterSection(int pid,
                                                                  Sections::iterator previous) {
    if (pid == kNoPid) {
        return processTransactions.end();
    }
    // The kernel prints the newest process first: most belong right before the one before.
    return processTransactions.try_emplace(previous, pid);
}

bool BinderLogParser::hasProcess(int pid) const {
    return processTransactions.count(pid) > 0;
}

const std::vector<BinderTransaction>* BinderLogParser::getProcessTransactions(int pid) const {
    auto section = processTransactions.find(pid);
    return section == processTransactions.end() ? nullptr : &section->second;
}

std::vector<BinderTransaction> BinderLogParser::getProcessTransactionsByType(
        int pid, const std::string& type) const {
    std::vector<BinderTransaction> matches;
    if (const std::vector<BinderTransaction>* all = getProcessTransactions(pid)) {
        std::copy_if(all->begin(), all->end(), std::back_inserter(matches),
                     [&type](const BinderTransaction& each) { return each.type == type; });
    }
    return matches;
}

BinderTransaction BinderLogParser::parseTransactionAbove6_1(const std::string& line,
                                                            const std::string& type) {
    BinderTransaction transaction;
    transaction.type = type;
    readNewFormatLine(line, &transaction);
    return transaction;
}

BinderTransaction BinderLogParser::parseTransactionBelow6_1(const std::string& line,
                                                            const std::string& type) {
    BinderTransaction transaction;
    transaction.type = type;
    readOldFormatLine(line, &transaction);
    return transaction;
}

}  // namespace android
