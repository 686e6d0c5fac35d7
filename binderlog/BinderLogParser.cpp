#include "binderlog/BinderLogParser.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "binderlog/LineReader.h"
#include "binderlog/TransactionGrammar.h"
#include "service/LogLine.h"

namespace android {

namespace {

constexpr std::string_view kSectionStart = "proc ";
constexpr int kNoPid = -1;

bool contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

// The type of the transaction line, or null for a line of another kind. A line with several of the
// keywords is what the first of them says.
const std::string* classifyLine(std::string_view line) {
    static const std::string outgoing(kOutgoing);
    static const std::string incoming(kIncoming);
    static const std::string pendingAsync(kPendingAsync);
    // Most lines of a log stop here.
    if (!contains(line, " transaction") || (!supportNewBinderLogFormat && !contains(line, "ZEVO"))) {
        return nullptr;
    }
    if (contains(line, "outgoing transaction")) {
        return &outgoing;
    }
    if (contains(line, "incoming transaction")) {
        return &incoming;
    }
    return contains(line, "pending async transaction") ? &pendingAsync : nullptr;
}

}  // namespace

bool BinderLogParser::parse(const std::string& path) {
    processTransactions.clear();
    LineReader reader(path);
    if (!reader.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Can't open file: %s", path.c_str());
        return false;
    }
    // The list of the section being read; null before the first valid header.
    std::vector<BinderTransaction>* section = nullptr;
    std::string_view line;
    while (reader.next(&line)) {
        LOG_LINE(ANDROID_LOG_DEBUG, __func__, "line: %s", line.data());
        if (line.substr(0, kSectionStart.size()) == kSectionStart) {
            int pid = readSectionPid(line);
            section = pid == kNoPid ? nullptr : &processTransactions[pid];
        } else if (const std::string* type = classifyLine(line); type != nullptr && section) {
            section->push_back(supportNewBinderLogFormat ? readNewFormatLine(line, *type)
                                                         : readOldFormatLine(line, *type));
        }
    }
    return true;
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
    return readNewFormatLine(line, type);
}

BinderTransaction BinderLogParser::parseTransactionBelow6_1(const std::string& line,
                                                            const std::string& type) {
    return readOldFormatLine(line, type);
}

}  // namespace android
