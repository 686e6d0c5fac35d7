#ifndef STALLSCOPE_ANALYSIS_INPUT_REPORTLINE_H
#define STALLSCOPE_ANALYSIS_INPUT_REPORTLINE_H

#include <optional>
#include <string_view>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// What a bug report's own lines say; `line` is without its end.

// A line that begins or ends a section.
struct ReportHeading {
    bool isEnd = false;       // "------ 0.012s was the duration of 'UPTIME' ------"
    std::string_view title;   // "VM TRACES AT LAST ANR"
    std::string_view origin;  // "/data/anr/traces.txt: 2016-01-01 10:00:00"; empty if there is none
};

std::optional<ReportHeading> readReportHeading(std::string_view line);

// When the report was begun.
std::optional<Moment> readReportMoment(std::string_view line);

// True for a remark of the tool that writes the report on how a section went, and for a blank line:
// they are no part of the section's content.
bool isReportRemark(std::string_view line);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_REPORTLINE_H
