#include "tests/support/ReferenceParser.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace android::test {

namespace {

int toCode(const std::string& word) {
    const bool isDecimal = word.find_first_not_of("0123456789") == std::string::npos;
    return std::stoi(word, nullptr, isDecimal ? 10 : 16);
}

double toSeconds(const std::string& text) {
    errno = 0;
    const double seconds = strtod(text.c_str(), nullptr);
    return errno == ERANGE ? 0.0 : seconds;
}

template <typename Parser>
std::string show(const BinderLogSections& sections, Parser&& file) {
    try {
        file();
    } catch (const std::logic_error&) {
        return "throws";
    }
    std::string text;
    for (const auto& [pid, records] : sections) {
        text += "proc " + std::to_string(pid) + "\n";
        for (const BinderTransaction& each : records) {
            char elapsed[64];
            snprintf(elapsed, sizeof(elapsed), " = %a s\n", each.elapsed);
            text += each.toString() + each.extra + elapsed;
        }
    }
    return text;
}

}  // namespace

struct ReferenceParser::Groups : std::vector<std::string> {};

ReferenceParser::Groups ReferenceParser::search(int pattern, const std::string& line) const {
    static const std::vector<std::regex> compiled(std::begin(kPatterns), std::end(kPatterns));
    if (mCompile == Compile::AtEachUse) {
        std::regex compiledForItsCost(kPatterns[pattern]);
    }
    std::smatch match;
    Groups groups;
    if (std::regex_search(line, match, compiled[pattern])) {
        groups.assign(std::next(match.begin()), match.end());
    }
    return groups;
}

BinderTransaction ReferenceParser::read(const std::string& line, const std::string& type) const {
    BinderTransaction transaction;
    transaction.type = type;
    Groups texts = search(mIsNewFormat ? 1 : 3, line);
    const bool isLoose = texts.empty();
    if (isLoose) {
        texts = search(mIsNewFormat ? 2 : 4, line);
    }
    if (!texts.empty()) {
        transaction.fromPid = std::stoi(texts[0]);
        transaction.fromTid = std::stoi(texts[1]);
        transaction.toPid = std::stoi(texts[2]);
        transaction.toTid = std::stoi(texts[3]);
        transaction.code = isLoose && mIsNewFormat ? toCode(texts[4]) : std::stoi(texts[4]);
        transaction.elapsed = mIsNewFormat ? std::stoll(texts[5]) / 1000.0 : toSeconds(texts[5]);
    }
    return transaction;
}

void ReferenceParser::file(const std::string& line) {
    if (line.rfind("proc ", 0) == 0) {
        const Groups pid = search(0, line);
        mPid = pid.empty() ? -1 : std::stoi(pid[0]);
        if (mPid != -1) {
            mSections[mPid];
        }
        return;
    }
    for (const char* type : {"outgoing", "incoming", "pending async"}) {
        if (line.find(type + std::string(" transaction")) != std::string::npos &&
            (mIsNewFormat || line.find("ZEVO") != std::string::npos)) {
            if (mPid != -1) {
                mSections[mPid].push_back(read(line, type));
            }
            return;
        }
    }
}

bool ReferenceParser::parse(const std::string& path) {
    std::ifstream log(path);
    for (std::string line; std::getline(log, line);) {
        file(line);
    }
    return log.is_open();
}

std::string filedByReference(bool isNewFormat, const std::string& line) {
    ReferenceParser parser(isNewFormat);
    return show(parser.sections(), [&] {
        parser.file("proc 7");
        parser.file(line);
    });
}

std::string filedByDaemon(bool isNewFormat, const std::string& line) {
    BinderLogSections sections;
    return show(sections, [&] {
        SectionFiler filer(isNewFormat, &sections);
        filer.file("proc 7");
        filer.file(line);
    });
}

}  // namespace android::test
