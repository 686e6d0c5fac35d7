#ifndef STALLSCOPE_ANALYSIS_MODEL_SNAPSHOT_H
#define STALLSCOPE_ANALYSIS_MODEL_SNAPSHOT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/model/BinderLog.h"
#include "analysis/model/Names.h"
#include "analysis/model/Place.h"
#include "analysis/model/ThreadDump.h"

namespace stallscope {

enum class InputFormat : uint8_t {
    kBinderLog,
    kBugReport,
    kBugReportZip,
    kThreadDump,
    kProcessList,
    kLive,
};

// "binder-log", "bug-report", "bug-report-zip", "thread-dump", "process-list", "live"
std::string_view nameOf(InputFormat format);

// Everything that was read from one input, and no conclusion: what stands between the readers and
// the graph. Copies share the texts.
struct Snapshot {
    std::string file;  // the argument as given
    InputFormat format = InputFormat::kBinderLog;
    // Where lines stand: the file itself first, then the dumps of a zip by their names in it.
    std::vector<std::string> sources;
    // All text that places and views point into. For a report only the sections that are kept.
    std::vector<KeptText> texts;

    std::optional<BinderLog> log;
    std::optional<Moment> logMoment;      // when the log was written, where the input says so
    std::vector<PoolThread> poolThreads;  // BINDER STATE
    std::vector<ThreadDump> dumps;
    Names names;
    LineCount lines;
    std::vector<std::string> notes;  // what a person should know of the input, each one sentence

    bool isComplete() const { return !log || log->complete; }
    // The line, without its end; empty when its text was not kept.
    std::string_view lineAt(Place place) const;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_SNAPSHOT_H
