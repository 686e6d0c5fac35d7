#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/LogGenerator.h"
#include "benchmarks/analysis/ReportGenerator.h"

// analysis_benchmark STALLSCOPE_ANALYZE [PARSE_LOG]: prints how long the analysis takes beside what
// its input costs others to read, as a table. Programs are measured whole, with their start. Ratios
// are of the fastest of several runs that take turns.

namespace {

constexpr int kRounds = 5;

using Command = std::vector<std::string>;

struct Cost {
    double wallMs = 1e300;
    double cpuMs = 1e300;
    double peakMb = 0;
    int status = 0;
};

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

// grep stops at its first match when its output is /dev/null.
[[noreturn]] void become(const Command& command, const std::string& output, int cores) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int core = 0; core < cores; ++core) {
        CPU_SET(core, &set);
    }
    if (cores > 0) {
        sched_setaffinity(0, sizeof(set), &set);
    }
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDOUT_FILENO);
    std::vector<char*> arguments;
    for (const std::string& each : command) {
        arguments.push_back(const_cast<char*>(each.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

// Runs it once and keeps what is best. cores: how many it may use, 0 for all.
void measure(const Command& command, const std::string& output, int cores, Cost* cost) {
    auto begin = std::chrono::steady_clock::now();
    pid_t child = fork();
    if (child == 0) {
        become(command, output, cores);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - begin;
    cost->wallMs = std::min(cost->wallMs, wall.count());
    cost->cpuMs =
            std::min(cost->cpuMs, milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime));
    cost->peakMb = std::max(cost->peakMb, static_cast<double>(usage.ru_maxrss) / 1024);
    cost->status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

struct Row {
    std::string what;
    std::string bound;
    Command command;
    Command reference;
    int referenceCores = 0;
    int highestStatus = 1;  // of the analysis: somebody is stuck or not
};

class Benchmark {
  public:
    explicit Benchmark(std::string folder) : mFolder(std::move(folder)) {
        printf("| | ms | reference, ms | ratio | of CPU time | at most | peak, MB |\n"
               "|---|---|---|---|---|---|---|\n");
    }

    std::string write(const std::string& name, const std::string& text) const {
        std::string path = mFolder + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    void run(const Row& row) {
        Cost cost;
        Cost reference;
        std::string output = mFolder + "/output";
        for (int round = 0; round < kRounds; ++round) {
            measure(row.command, output, 0, &cost);
            measure(row.reference, output, row.referenceCores, &reference);
        }
        if (cost.status > row.highestStatus || reference.status > 1) {
            fprintf(stderr, "%s failed: status %d, reference %d\n", row.what.c_str(), cost.status,
                    reference.status);
            mHasFailed = true;
            return;
        }
        printf("| %s | %.1f | %.1f | %.2f | %.2f | %s | %.1f |\n", row.what.c_str(), cost.wallMs,
               reference.wallMs, cost.wallMs / reference.wallMs, cost.cpuMs / reference.cpuMs,
               row.bound.c_str(), cost.peakMb);
        fflush(stdout);
    }

    bool hasFailed() const { return mHasFailed; }

  private:
    std::string mFolder;
    bool mHasFailed = false;
};

void benchmarkLog(const std::string& analyze, const std::string& parseLog, Benchmark* benchmark) {
    std::string log = benchmark->write("log", android::benchmarks::generateLog(2'000'000, true));
    benchmark->run({"log of 2,000,000 lines / grep -c",
                    "",
                    {analyze, log},
                    {"grep", "-c", "transaction", log}});
    if (!parseLog.empty()) {
        setenv("STALLSCOPE_BENCHMARK_RELEASE", "6.12.0", 1);
        benchmark->run({"log of 2,000,000 lines / the daemon's parse",
                        "3",
                        {analyze, log},
                        {parseLog, log}});
        benchmark->run({"the same as JSON / the daemon's parse",
                        "",
                        {analyze, "--json", log},
                        {parseLog, log}});
    }
    std::filesystem::remove(log);
}

void benchmarkMany(const std::string& analyze, Benchmark* benchmark) {
    Command command = {analyze, "--json"};
    std::string log = android::benchmarks::generateLog(2000, true);
    for (int i = 0; i < 1000; ++i) {
        command.push_back(benchmark->write("log" + std::to_string(i), log));
    }
    benchmark->run({"1,000 logs of 2,000 lines, all cores / one", "0.7", command, command, 1});
}

void benchmarkReport(const std::string& analyze, Benchmark* benchmark) {
    size_t kept = 0;
    std::string report =
            benchmark->write("report", stallscope::benchmarks::generateReport(100'000'000, &kept));
    char what[100];
    snprintf(what, sizeof(what), "bug report of 100 MB, %.1f MB of it kept / grep -c",
             static_cast<double>(kept) / 1e6);
    benchmark->run({what, "3", {analyze, "--json", report}, {"grep", "-c", "transaction", report}});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: %s STALLSCOPE_ANALYZE [PARSE_LOG]\n", argv[0]);
        return 2;
    }
    char folder[] = "/tmp/stallscope-benchmark-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        perror(folder);
        return 1;
    }
    Benchmark benchmark(folder);
    benchmarkReport(argv[1], &benchmark);
    benchmarkMany(argv[1], &benchmark);
    benchmarkLog(argv[1], argc > 2 ? argv[2] : "", &benchmark);
    std::filesystem::remove_all(folder);
    return benchmark.hasFailed() ? 1 : 0;
}
