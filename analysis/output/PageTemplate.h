#ifndef STALLSCOPE_ANALYSIS_OUTPUT_PAGETEMPLATE_H
#define STALLSCOPE_ANALYSIS_OUTPUT_PAGETEMPLATE_H

#include <string_view>

namespace stallscope {

// page/ in one text, made by the build. It holds the marks <!--title-->, <!--answer-->,
// <!--text--> and <!--data-->, each once and in this order.
extern const std::string_view kPageTemplate;

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_PAGETEMPLATE_H
