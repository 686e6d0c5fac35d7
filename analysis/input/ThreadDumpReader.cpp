#include "analysis/input/ThreadDumpReader.h"

#include "analysis/input/DumpScanner.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

void readThreadDumps(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count) {
    DumpScanner(piece, dumps, count).run();
}

bool looksLikeThreadDump(std::string_view text) {
    constexpr size_t kFarEnough = 64 * 1024;
    Lines lines(text.substr(0, kFarEnough));
    for (std::string_view line; lines.next(&line);) {
        if (DumpScanner::isBeginning(line)) {
            return true;
        }
    }
    return false;
}

}  // namespace stallscope
