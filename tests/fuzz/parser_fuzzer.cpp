#include <sanitizer/lsan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "binderlog/BinderLogParser.h"
#include "tests/fuzz/LineGenerator.h"
#include "tests/fuzz/Transcription.h"
#include "tests/support/LogCapture.h"

// Whole logs, parsed by the daemon's parser and by the transcription of it. STALLSCOPE_TEST_RELEASE
// chooses the format.

namespace {

using namespace android;
using namespace android::test;

constexpr size_t kLongestLine = 1000;  // that std::regex can take

std::string show(const BinderTransaction& record) {
    char elapsed[64];
    snprintf(elapsed, sizeof(elapsed), " = %a s", record.elapsed);
    return record.toString() + elapsed + record.extra;
}

[[noreturn]] void fail(const std::string& expected, const std::string& actual,
                       const std::string& input) {
    fprintf(stderr, "expected: %s\nactual:   %s\nfrom: %s\n", expected.c_str(), actual.c_str(),
            escape(input).c_str());
    abort();
}

// A line that starts with a keyword, more or less.
std::string generateTransaction(Choices* choices) {
    constexpr const char* kStarts[] = {
            "    outgoing transaction 71: 0000000076280f16 ",
            "    incoming transaction 71: 0000000076280f16 ",
            "    pending async transaction 7: 00000000cc280f16 ",
            "ZEVO    outgoing transaction: ",
            "ZEVO    pending async transaction ",
            "outgoing  transactionincoming transactionpending async transaction ",
            "pending transaction 71: ",
            "g outgoing outgoing transaction g incoming transaction "};
    std::string line = choices->among(kStarts) + generateLine(choices, true);
    return choices->oneIn(4) ? line + " ZEVO" : line;
}

std::string generateHeader(Choices* choices) {
    constexpr const char* kStarts[] = {"proc ", "proc ", "proc ", "proc  ", "  proc ", "proc\t"};
    constexpr const char* kEnds[] = {"", "", "", "x", " proc 3", "\r"};
    constexpr const char* kPids[] = {"1", "2", "3", "0", "4", "x", "", "99999999999"};
    return std::string(choices->among(kStarts)) + choices->among(kPids) + choices->among(kEnds);
}

// A line that makes the following ones straddle the end of the reader's buffer, 64 KB at first.
std::string generatePadding(Choices* choices) {
    constexpr size_t kSizes[] = {65536, 131072, 32768};
    return std::string(choices->among(kSizes) - choices->below(256), 'x');
}

std::string generateLogLine(Choices* choices) {
    switch (choices->below(8)) {
        case 0:
        case 1:
            return generateHeader(choices);
        case 2:
            return generateLine(choices, true);
        case 3:
            return "";
        default:
            return generateTransaction(choices);
    }
}

std::optional<std::string> daemonReads(const std::string& line, bool isNewFormat) {
    // What is under way when a conversion fails is leaked; the daemon would have ended.
    __lsan::ScopedDisabler ignoreLeaks;
    try {
        return show(isNewFormat ? BinderLogParser::parseTransactionAbove6_1(line, kOutgoing)
                                : BinderLogParser::parseTransactionBelow6_1(line, kOutgoing));
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

std::optional<std::string> transcriptionReads(const std::string& line, bool isNewFormat) {
    try {
        Transcription transcription(isNewFormat, Transcription::Compile::Once);
        return show(transcription.parseLine(line, kOutgoing));
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

void checkGrammar(const std::string& line, bool isNewFormat) {
    std::optional<std::string> expected = transcriptionReads(line, isNewFormat);
    std::optional<std::string> actual = daemonReads(line, isNewFormat);
    if (actual != expected) {
        fail(expected.value_or("throws"), actual.value_or("throws"), line);
    }
}

// Whether the line, in a log, would end the process.
bool isFatal(const std::string& line) {
    std::istringstream log("proc 1\n" + line);
    try {
        Transcription(supportNewBinderLogFormat, Transcription::Compile::Once).parse(log);
        return false;
    } catch (const std::logic_error&) {
        return true;
    }
}

void append(const std::string& line, std::string* log) {
    if (line.size() <= kLongestLine) {
        checkGrammar(line, true);
        checkGrammar(line, false);
        if (isFatal(line)) {
            return;
        }
    }
    *log += line + "\n";
}

std::string showSections(const std::map<int, std::vector<BinderTransaction>>& sections) {
    std::string text;
    for (const auto& [pid, records] : sections) {
        text += "\nproc " + std::to_string(pid);
        for (const BinderTransaction& record : records) {
            text += "\n" + show(record);
        }
    }
    return text;
}

void checkLog(const std::string& log) {
    static const int file = memfd_create("log", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, log.data(), log.size(), 0) != ssize_t(log.size())) {
        abort();
    }
    Transcription transcription(supportNewBinderLogFormat, Transcription::Compile::Once);
    transcription.parse(path);
    static BinderLogParser parser;  // each parse replaces what the one before left
    parser.parse(path);
    // The parser doesn't say which sections it has.
    std::map<int, std::vector<BinderTransaction>> candidates = transcription.sections();
    for (int pid : {0, 1, 2, 3, 4, 7, 22, 33, 4096}) {
        candidates[pid];
    }
    std::map<int, std::vector<BinderTransaction>> sections;
    for (const auto& [pid, records] : candidates) {
        if (parser.hasProcess(pid)) {
            sections[pid] = *parser.getProcessTransactions(pid);
        }
    }
    std::string expected = showSections(transcription.sections());
    std::string actual = showSections(sections);
    if (actual != expected) {
        fail(expected, actual, log);
    }
}

}  // namespace

// Input that begins as a captured log does is a log; any other makes the generator's choices.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string log;
    if (size > 0 && data[0] == 'b') {
        std::istringstream text(std::string(data, data + size));
        for (std::string line; std::getline(text, line);) {
            append(line.substr(0, kLongestLine), &log);
        }
    } else {
        for (Choices choices(data, size); !choices.isExhausted();) {
            append(choices.oneIn(100) ? generatePadding(&choices) : generateLogLine(&choices),
                   &log);
        }
    }
    if (size % 2 == 1 && !log.empty()) {
        log.pop_back();
    }
    checkLog(log);
    takeLog();
    return 0;
}
