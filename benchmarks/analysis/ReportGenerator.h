#ifndef STALLSCOPE_BENCHMARKS_ANALYSIS_REPORTGENERATOR_H
#define STALLSCOPE_BENCHMARKS_ANALYSIS_REPORTGENERATOR_H

#include <cstddef>
#include <string>

namespace stallscope::benchmarks {

// A bug report of about that many bytes with the proportions of a real one: most of it is the
// system log, a twentieth is sections that the analysis keeps. *kept is set to their bytes.
std::string generateReport(size_t bytes, size_t* kept);

}  // namespace stallscope::benchmarks

#endif  // STALLSCOPE_BENCHMARKS_ANALYSIS_REPORTGENERATOR_H
