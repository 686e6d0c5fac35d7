#include "analysis/input/ReportLine.h"

#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

// dumpstate's dump_file() and run_command(), and its DurationReporter:
//   ------ BINDER STATE (/sys/kernel/debug/binder/state) ------
//   ------ VM TRACES AT LAST ANR (/data/anr/traces.txt: 2016-01-01 10:00:00) ------
//   ------ 0.012s was the duration of 'BINDER STATE' ------
std::optional<ReportHeading> readReportHeading(std::string_view line) {
    line = trim(line);
    if (!takePrefix(&line, "------ ") || !takeSuffix(&line, " ------")) {
        return std::nullopt;
    }
    ReportHeading heading;
    heading.title = line;
    heading.isEnd = line.find(" was the duration of ") != std::string_view::npos;
    size_t origin = line.find(" (");
    if (origin != std::string_view::npos && line.back() == ')') {
        heading.title = trim(line.substr(0, origin));
        heading.origin = line.substr(origin + 2, line.size() - origin - 3);
    }
    return heading;
}

//   == dumpstate: 2016-01-01 10:00:00
std::optional<Moment> readReportMoment(std::string_view line) {
    return takePrefix(&line, "== dumpstate: ") ? readMoment(trim(line)) : std::nullopt;
}

//   [ps: 0.039s elapsed]
//   *** /sys/kernel/debug/binder/state: No such file or directory
bool isReportRemark(std::string_view line) {
    line = trim(line);
    bool isDuration = beginsWith(line, "[") && takeSuffix(&line, " elapsed]");
    return line.empty() || isDuration || beginsWith(line, "*** ");
}

}  // namespace stallscope
