#ifndef STALLSCOPE_BENCHMARKS_PARSETABLES_H
#define STALLSCOPE_BENCHMARKS_PARSETABLES_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace android::benchmarks {

// Collects the runs of parse_benchmark and prints them as the Markdown tables of
// docs/performance.md. Other work on the machine only ever adds time, so the fastest repetition
// counts.
class ParseTables : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    void print() const;

  private:
    // What is known of "grep/200000" and the like; zero where nothing was measured.
    struct Measurement {
        double us = 0;
        double bytes = 0;
        double peak = 0;     // bytes of memory
        double records = 0;  // in the file
        double recordSize = 0;
    };
    Measurement of(const std::string& name, const std::string& size) const;
    // A row of ms, and one of how many times the second the first took.
    void printTimes(const char* title, const std::string& name) const;
    void printRatios(const char* title, const std::string& name, const std::string& base) const;
    void printLogs() const;
    void printHostileFiles() const;

    std::map<std::string, Measurement> mMeasurements;
};

}  // namespace android::benchmarks

#endif  // STALLSCOPE_BENCHMARKS_PARSETABLES_H
