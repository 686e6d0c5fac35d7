#include "analysis/input/BinderLogReader.h"
#include "tests/analysis/fuzz/Check.h"

using namespace stallscope;

// Nothing of a binder log is lost, and its lists refer to what is in them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text = textOf(data, size);
    BinderLog log;
    LineCount count;
    readBinderLog({text, 0, 1}, &log, &count);
    check(count.lines() == linesOf(text), "every line of a log is counted once");
    for (const BinderSection& each : log.sections) {
        check(each.context < log.contexts.size(), "a section has a context");
    }
    for (const BinderThread& each : log.threads) {
        check(each.section < log.sections.size(), "a thread has a section");
        check(each.frames.begin <= each.frames.end && each.frames.end <= log.frames.size(),
              "a thread's frames are in the log");
    }
    std::vector<PoolThread> threads;
    LineCount stateCount;
    readBinderState({text, 0, 1}, &threads, &stateCount);
    check(stateCount.lines() == count.lines(), "every line of a state is counted once");
    return 0;
}
