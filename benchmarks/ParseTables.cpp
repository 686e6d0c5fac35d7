#include "benchmarks/ParseTables.h"

#include <algorithm>
#include <cstdio>

namespace android::benchmarks {

namespace {

const char* const kSizes[] = {"2000", "20000", "200000", "2000000"};

double counterOf(const benchmark::BenchmarkReporter::Run& run, const char* name) {
    auto counter = run.counters.find(name);
    return counter == run.counters.end() ? 0 : counter->second.value;
}

// An empty cell for what was not measured.
void printCell(const char* format, double value) {
    printf(" ");
    if (value > 0) {
        printf(format, value);
    }
    printf(" |");
}

double ratio(double value, double base) {
    return base > 0 ? value / base : 0;
}

}  // namespace

bool ParseTables::ReportContext(const Context& /*context*/) {
    return true;
}

void ParseTables::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) {
            continue;
        }
        Measurement& kept = mMeasurements[run.run_name.function_name + "/" + run.run_name.args];
        const double us = run.GetAdjustedRealTime();
        kept.us = kept.us > 0 ? std::min(kept.us, us) : us;
        kept.bytes = counterOf(run, "bytes");
        kept.peak = counterOf(run, "peak");
        kept.records = counterOf(run, "records");
        kept.recordSize = counterOf(run, "record_size");
    }
}

ParseTables::Measurement ParseTables::of(const std::string& name, const std::string& size) const {
    auto measurement = mMeasurements.find(name + "/" + size);
    return measurement == mMeasurements.end() ? Measurement() : measurement->second;
}

void ParseTables::printTimes(const char* title, const std::string& name) const {
    printf("| %s |", title);
    for (const char* size : kSizes) {
        printCell("%.2f", of(name, size).us / 1000);
    }
    printf("\n");
}

void ParseTables::printRatios(const char* title, const std::string& name,
                              const std::string& base) const {
    printf("| %s |", title);
    for (const char* size : kSizes) {
        printCell("%.2f", ratio(of(name, size).us, of(base, size).us));
    }
    printf("\n");
}

void ParseTables::printLogs() const {
    printf("\n| ms | 2,000 lines | 20,000 | 200,000 | 2,000,000 |\n|---|---|---|---|---|\n");
    printTimes("getline loop", "getline");
    printTimes("**parse**", "parse");
    printTimes("std::regex, compiled once", "compile_once");
    printTimes("std::regex, compiled at each use", "literal");
    printTimes("grep -c, process", "grep");
    printTimes("grep -c in the C locale, process", "grep_c");
    printTimes("parse, process", "parse_log");
    printf("| parse, ns per line |");
    for (const char* size : kSizes) {
        printCell("%.0f", of("parse", size).us * 1000 / std::stod(size));
    }
    printf("\n");
    printRatios("parse / getline loop", "parse", "getline");
    printRatios("parse / grep process", "parse", "grep");
    printRatios("parse / grep process in the C locale", "parse", "grep_c");
    printRatios("parse process / grep process", "parse_log", "grep");
    printRatios("compiled once / parse", "compile_once", "parse");
    printRatios("compiled at each use / parse", "literal", "parse");
    printf("| peak memory / size of the records |");
    for (const char* size : kSizes) {
        Measurement grep = of("grep", size);
        printCell("%.2f", ratio(of("parse_log", size).peak, grep.records * grep.recordSize));
    }
    printf("\n");
}

void ParseTables::printHostileFiles() const {
    printf("\n| hostile file | MB | ms | ns per byte |\n|---|---|---|---|\n");
    const std::pair<const char*, const char*> kinds[] = {
            {"long_line/", "one line, `from 1:2 to 3:4 code 5 ...`"},
            {"from_lines/", "lines `from from from ...`"}};
    for (const auto& [prefix, title] : kinds) {
        std::vector<Measurement> rows;
        for (const auto& [name, measurement] : mMeasurements) {
            if (name.rfind(prefix, 0) == 0) {
                rows.push_back(measurement);
            }
        }
        std::sort(rows.begin(), rows.end(),
                  [](const Measurement& a, const Measurement& b) { return a.bytes < b.bytes; });
        for (const Measurement& row : rows) {
            printf("| %s | %.1f | %.2f | %.3f |\n", title, row.bytes / 1e6, row.us / 1000,
                   row.us * 1000 / row.bytes);
        }
    }
}

void ParseTables::print() const {
    printLogs();
    printHostileFiles();
}

}  // namespace android::benchmarks
