#ifndef STALLSCOPE_TESTS_ANALYSIS_INPUT_DESCRIBE_H
#define STALLSCOPE_TESTS_ANALYSIS_INPUT_DESCRIBE_H

#include <string>

#include "analysis/model/Snapshot.h"

namespace stallscope {

// What a snapshot holds, a line each.
inline std::string describe(const Snapshot& snapshot) {
    std::string text;
    if (snapshot.log) {
        text += "log";
        for (const BinderSection& section : snapshot.log->sections) {
            text += " " + std::to_string(section.pid) + ":";
        }
        for (const BinderThread& thread : snapshot.log->threads) {
            text += " " + std::to_string(thread.tid);
        }
        text += snapshot.log->complete ? " complete\n" : " incomplete\n";
    }
    if (snapshot.logMoment) {
        text += "moment " + std::to_string(snapshot.logMoment->seconds) + "\n";
    }
    for (const PoolThread& each : snapshot.poolThreads) {
        text += "pool " + std::to_string(each.id.pid) + ":" + std::to_string(each.id.tid) + " @" +
                std::to_string(each.place.line) + "\n";
    }
    for (const ThreadDump& each : snapshot.dumps) {
        text += "dump " + std::to_string(each.pid) + (each.isOfLogsMoment ? " now" : "") +
                " threads " + std::to_string(each.threads.size()) + " @" +
                (each.place.source > 0 ? snapshot.sources[each.place.source] + ":" : "") +
                std::to_string(each.place.line) + "\n";
    }
    for (const std::string& each : snapshot.notes) {
        text += "note " + each + "\n";
    }
    return text + "skipped " + std::to_string(snapshot.lines.skipped) + "\n";
}

}  // namespace stallscope

#endif  // STALLSCOPE_TESTS_ANALYSIS_INPUT_DESCRIBE_H
