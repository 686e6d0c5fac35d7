#include "tests/fuzz/Transcription.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <regex>

namespace android::test {

namespace {

int toCode(const std::string& word) {
    bool isDecimal = word.find_first_not_of("0123456789") == std::string::npos;
    return std::stoi(word, nullptr, isDecimal ? 10 : 16);
}

double toSeconds(const std::string& text) {
    errno = 0;
    const double seconds = strtod(text.c_str(), nullptr);
    return errno == ERANGE ? 0.0 : seconds;
}

}  // namespace

std::optional<std::vector<std::string>> Transcription::search(Pattern pattern,
                                                              const std::string& line) const {
    if (mCompile == Compile::AtEachUse) {
        std::regex compiledForItsCost(patternText(pattern));
    }
    return searchRegex(pattern, line);
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
    auto groups = search(mIsNewFormat ? Pattern::NewStrict : Pattern::OldMarked, line);
    const bool isLoose = !groups;
    if (isLoose) {
        groups = search(mIsNewFormat ? Pattern::NewLoose : Pattern::OldPlain, line);
    }
    BinderTransaction transaction;
    transaction.type = type;
    if (groups) {
        const std::vector<std::string>& texts = *groups;
        transaction.fromPid = std::stoi(texts[0]);
        transaction.fromTid = std::stoi(texts[1]);
        transaction.toPid = std::stoi(texts[2]);
        transaction.toTid = std::stoi(texts[3]);
        transaction.code = isLoose && mIsNewFormat ? toCode(texts[4]) : std::stoi(texts[4]);
        transaction.elapsed = mIsNewFormat ? std::stoll(texts[5]) / 1000.0 : toSeconds(texts[5]);
    }
    return transaction;
}

bool Transcription::parse(const std::string& path) {
    std::ifstream file(path);
    parse(file);
    return file.is_open();
}

void Transcription::parse(std::istream& log) {
    mSections.clear();
    int pid = -1;
    for (std::string line; std::getline(log, line);) {
        if (line.rfind("proc ", 0) == 0) {
            const auto groups = search(Pattern::Section, line);
            pid = groups ? std::stoi(groups->front()) : -1;
            if (pid != -1) {
                mSections[pid];
            }
        } else if (std::string type = classify(line); !type.empty() && pid != -1) {
            mSections[pid].push_back(parseLine(line, type));
        }
    }
}

}  // namespace android::test
