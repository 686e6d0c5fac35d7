#include "binderlog/BinderLogParser.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "binderlog/Duration.h"
#include "binderlog/KernelLogFormat.h"
#include "binderlog/LineReader.h"
#include "binderlog/TransactionGrammar.h"
#include "logging/LogLine.h"

namespace android {

bool BinderLogParser::parse(const std::string& path) {
    processTransactions.clear();
    LineReader reader(path);
    if (!reader.isOpen()) {
        LOG_LINE(ANDROID_LOG_ERROR, __func__, "Can't open file: %s", path.c_str());
        return false;
    }
    SectionFiler filer(supportNewBinderLogFormat, &processTransactions);
    std::string_view line;
    while (reader.next(&line)) {
        LOG_LINE(ANDROID_LOG_DEBUG, __func__, "line: %s", std::string(line).c_str());
        filer.file(line);
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

double BinderLogParser::extractDuration(const std::string& text) {
    return android::extractDuration(text);
}

}  // namespace android
