#include "analysis/input/ProcessListReader.h"
#include "analysis/input/ThreadDumpReader.h"
#include "tests/analysis/fuzz/Check.h"

using namespace stallscope;

namespace {

void checkInside(std::string_view part, std::string_view whole) {
    check(part.empty() || (part.data() >= whole.data() &&
                           part.data() + part.size() <= whole.data() + whole.size()),
          "a text of a dump is a part of its input");
}

void checkThread(const DumpThread& thread, std::string_view text, uint64_t lines) {
    checkInside(thread.name, text);
    checkInside(thread.state, text);
    check(thread.place.line >= 1 && thread.place.line <= thread.lastLine &&
                  thread.lastLine <= lines,
          "a thread stands in the lines of its input");
    if (thread.waitsToLock) {
        checkInside(thread.waitsToLock->object, text);
        checkInside(thread.waitsToLock->holderName, text);
    }
    for (const StackFrame& each : thread.frames) {
        checkInside(each.text, text);
    }
}

}  // namespace

// Nothing of a dump or a process list is lost, and what is kept is a part of the text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text = textOf(data, size);
    std::vector<ThreadDump> dumps;
    LineCount count;
    readThreadDumps({text, 0, 1}, &dumps, &count);
    check(count.lines() == linesOf(text), "every line of a dump is counted once");
    for (const ThreadDump& dump : dumps) {
        for (const DumpThread& each : dump.threads) {
            checkThread(each, text, count.lines());
        }
    }
    Names names;
    LineCount listCount;
    readProcessList({text, 0, 1}, &names, &listCount);
    check(listCount.lines() == count.lines(), "every line of a list is counted once");
    return 0;
}
