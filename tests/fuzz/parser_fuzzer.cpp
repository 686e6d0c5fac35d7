#include <android-base/stringprintf.h>
#include <gtest/gtest-printers.h>
#include <sanitizer/lsan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
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

constexpr size_t kLongestLine = 400;  // that std::regex can take
constexpr char kThrows[] = "throws";

using Records = std::vector<BinderTransaction>;

std::string show(const Records* records) {
    if (records == nullptr) {
        return "no section";
    }
    std::string text;
    for (const BinderTransaction& each : *records) {
        text += base::StringPrintf("%s%s = %a s\n", each.toString().c_str(), each.extra.c_str(),
                                   each.elapsed);
    }
    return text;
}

void requireEqual(const std::string& expected, const std::string& actual,
                  const std::string& input) {
    if (expected != actual) {
        fprintf(stderr, "expected: %s\nactual:   %s\nfrom: %s\n", expected.c_str(), actual.c_str(),
                testing::PrintToString(input).c_str());
        abort();
    }
}

// What is under way when a conversion fails is leaked; the daemon would have ended.
std::string orThrows(const std::function<BinderTransaction()>& read) {
    __lsan::ScopedDisabler ignoreLeaks;
    try {
        const Records records = {read()};
        return show(&records);
    } catch (const std::logic_error&) {
        return kThrows;
    }
}

// A line, perhaps behind the start of one of the daemon's interest.
std::string generateLogLine(Choices* choices) {
    constexpr const char* kStarts[] = {
            "    outgoing transaction 71: 0000000076280f16 ",
            "    incoming transaction 71: 0000000076280f16 ",
            "    pending async transaction 7: 00000000cc280f16 ",
            "ZEVO    outgoing transaction: ",
            "ZEVO    pending async transaction ",
            "outgoing  transactionincoming transactionpending async transaction ",
            "pending transaction 71: ",
            "g outgoing outgoing transaction g incoming transaction ",
            "outgoing transaction ZEVO ",
            ""};
    constexpr const char* kHeaders[] = {"proc 1",  "proc 2", "proc 3x",  "proc  7\r",
                                        "proc x",  "proc ",  "  proc 1", "proc x proc 4",
                                        "proc\t1", ""};
    constexpr size_t kPaddings[] = {65536, 131072, 32768};
    if (choices->oneIn(100)) {
        // Makes the following lines straddle the end of the reader's buffer, 64 KB at first.
        return std::string(choices->among(kPaddings) - choices->below(256), 'x');
    }
    return choices->oneIn(4) ? choices->among(kHeaders)
                             : choices->among(kStarts) + generateLine(choices);
}

// Whether the line, in a log, would end the daemon.
bool isFatal(const std::string& line) {
    std::istringstream log("proc 1\n" + line);
    return kThrows == orThrows([&] {
               Transcription(supportNewBinderLogFormat).parse(log);
               return BinderTransaction();
           });
}

void checkGrammars(const std::string& line) {
    for (bool isNew : {false, true}) {
        const auto parse = isNew ? BinderLogParser::parseTransactionAbove6_1
                                 : BinderLogParser::parseTransactionBelow6_1;
        requireEqual(orThrows([&] { return Transcription(isNew).parseLine(line, kOutgoing); }),
                     orThrows([&] { return parse(line, kOutgoing); }), line);
    }
}

void append(const std::string& line, std::string* log) {
    const bool isPadding = line.size() > kLongestLine;
    if (!isPadding) {
        checkGrammars(line);
    }
    if (isPadding || !isFatal(line)) {
        *log += line + "\n";
    }
}

void checkLog(const std::string& log) {
    static const int file = memfd_create("log", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, log.data(), log.size(), 0) != ssize_t(log.size())) {
        abort();
    }
    Transcription transcription(supportNewBinderLogFormat);
    transcription.parse(path);
    static BinderLogParser parser;  // each parse replaces what the one before left
    parser.parse(path);
    // The parser doesn't say which sections it has.
    std::set<int> pids = {0, 1, 2, 3, 4, 7, 22, 33, 4096};
    for (const auto& [pid, records] : transcription.sections()) {
        pids.insert(pid);
    }
    for (int pid : pids) {
        const auto section = transcription.sections().find(pid);
        const bool isThere = section != transcription.sections().end();
        requireEqual(show(isThere ? &section->second : nullptr),
                     show(parser.getProcessTransactions(pid)), log);
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
            append(generateLogLine(&choices), &log);
        }
    }
    if (size % 2 == 1 && !log.empty()) {
        log.pop_back();
    }
    checkLog(log);
    takeLog();
    return 0;
}
