#include "analysis/input/NamesFile.h"

#include "analysis/input/Bytes.h"
#include "analysis/input/ProcessListReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

// "613 system_server" or "613:622 Binder_1"
bool readNameLine(std::string_view line, Names* names) {
    Tokens tokens(line);
    std::string_view number = tokens.next();
    if (number.empty() || number.front() == '#') {
        return true;
    }
    size_t colon = number.find(':');
    ThreadId id;
    if (!readNumber(number.substr(0, colon), &id.pid) || tokens.rest().empty()) {
        return false;
    }
    if (colon == std::string_view::npos) {
        names->setProcess(id.pid, tokens.rest(), NameOrigin::kGiven);
        return true;
    }
    if (!readNumber(number.substr(colon + 1), &id.tid)) {
        return false;
    }
    names->setThread(id, tokens.rest(), NameOrigin::kGiven);
    return true;
}

}  // namespace

std::string readNames(std::string_view text, Names* names) {
    if (looksLikeProcessList(text)) {
        LineCount count;
        readProcessList({text, 0, 1}, names, &count);
        return {};
    }
    Lines lines(text);
    int number = 1;
    for (std::string_view line; lines.next(&line); ++number) {
        if (!readNameLine(line, names)) {
            return "line " + std::to_string(number) +
                   " is no name: write \"PID NAME\" or \"PID:TID NAME\", or give it `ps` output";
        }
    }
    return {};
}

std::string readNamesFile(const std::string& file, Names* names) {
    Buffer buffer;
    std::string error = readWholeFile(file, &buffer);
    if (!error.empty()) {
        return error;
    }
    error = readNames(buffer.text(), names);
    return error.empty() ? error : file + ": " + error;
}

}  // namespace stallscope
