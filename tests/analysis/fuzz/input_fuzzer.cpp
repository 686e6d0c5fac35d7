#include <string>

#include "analysis/graph/Analysis.h"
#include "analysis/input/BugReportReader.h"
#include "analysis/input/Input.h"
#include "tests/analysis/fuzz/Check.h"

using namespace stallscope;

namespace {

// A report is read the same in pieces of any size.
void checkPieces(std::string_view text, size_t size) {
    Snapshot whole;
    readBugReport(text, &whole);
    check(whole.lines.lines() == linesOf(text), "every line of a report is counted once");
    Snapshot pieces;
    BugReportReader reader(&pieces);
    for (; !text.empty(); text.remove_prefix(std::min(size, text.size()))) {
        reader.add(text.substr(0, size));
    }
    reader.finish();
    check(pieces.lines.read == whole.lines.read && pieces.lines.skipped == whole.lines.skipped &&
                  pieces.lines.ignored == whole.lines.ignored &&
                  pieces.dumps.size() == whole.dumps.size() && pieces.notes == whole.notes,
          "a report in pieces reads as the whole does");
}

}  // namespace

// Whatever is given as a file, a zip among them: it is read or refused, and an answer found.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(textOf(data, size));
    Snapshot snapshot;
    if (readText(text, &snapshot).empty()) {
        bool isText = snapshot.format != InputFormat::kBugReportZip;
        check(!isText || snapshot.lines.lines() == linesOf(text),
              "every line of an input is counted once");
        analyze(snapshot, AnalysisOptions());
    }
    checkPieces(text, 1 + size % 7);
    return 0;
}
