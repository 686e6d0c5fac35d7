#include "tests/fuzz/Transcription.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>

namespace android::test {

namespace {

const std::regex& compiled(Pattern pattern) {
    static const std::vector<std::regex> all = [] {
        std::vector<std::regex> regexes;
        for (Pattern each : kPatterns) {
            regexes.emplace_back(patternText(each));
        }
        return regexes;
    }();
    return all[static_cast<int>(pattern)];
}

int toCode(const std::string& word) {
    bool isDecimal = word.find_first_not_of("0123456789") == std::string::npos;
    return std::stoi(word, nullptr, isDecimal ? 10 : 16);
}

double toSeconds(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    double seconds = strtod(text.c_str(), &end);
    return end == text.c_str() || errno == ERANGE ? 0.0 : seconds;
}

void fillPairs(const std::smatch& match, BinderTransaction* transaction) {
    transaction->fromPid = std::stoi(match[1]);
    transaction->fromTid = std::stoi(match[2]);
    transaction->toPid = std::stoi(match[3]);
    transaction->toTid = std::stoi(match[4]);
}

}  // namespace

bool Transcription::search(Pattern pattern, const std::string& line, std::smatch* match) const {
    if (mCompile == Compile::Once) {
        return std::regex_search(line, *match, compiled(pattern));
    }
    return std::regex_search(line, *match, std::regex(patternText(pattern)));
}

int Transcription::sectionPid(const std::string& line) const {
    std::smatch match;
    return search(Pattern::Section, line, &match) ? std::stoi(match[1]) : -1;
}

std::string Transcription::classify(const std::string& line) const {
    for (const char* type : {"outgoing", "incoming", "pending async"}) {
        if (line.find(type + std::string(" transaction")) != std::string::npos &&
            (mIsNewFormat || line.find("ZEVO") != std::string::npos)) {
            return type;
        }
    }
    return "";
}

BinderTransaction Transcription::parseLine(const std::string& line, const std::string& type) const {
    BinderTransaction transaction;
    transaction.type = type;
    std::smatch match;
    if (search(mIsNewFormat ? Pattern::NewStrict : Pattern::OldMarked, line, &match)) {
        fillPairs(match, &transaction);
        transaction.code = std::stoi(match[5]);
    } else if (search(mIsNewFormat ? Pattern::NewLoose : Pattern::OldPlain, line, &match)) {
        fillPairs(match, &transaction);
        transaction.code = mIsNewFormat ? toCode(match[5]) : std::stoi(match[5]);
    } else {
        return transaction;
    }
    transaction.elapsed = mIsNewFormat ? std::stoll(match[6]) / 1000.0 : toSeconds(match[6]);
    return transaction;
}

bool Transcription::parse(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        return false;
    }
    parse(file);
    return true;
}

void Transcription::parse(std::istream& log) {
    mSections.clear();
    int pid = -1;
    std::string line;
    while (std::getline(log, line)) {
        if (line.find("proc ") == 0) {
            pid = sectionPid(line);
            if (pid != -1) {
                mSections[pid];
            }
            continue;
        }
        std::string type = classify(line);
        if (!type.empty() && pid != -1) {
            mSections[pid].push_back(parseLine(line, type));
        }
    }
}

}  // namespace android::test
