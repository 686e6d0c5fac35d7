#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>

#include "benchmarks/LogGenerator.h"
#include "benchmarks/ParseTables.h"
#include "binderlog/BinderLogParser.h"
#include "tests/support/ReferenceParser.h"

// How fast a binder log is parsed, beside what it could cost, as Markdown. The format is that of
// the kernel release in the environment; see KernelRelease.cpp.

namespace {

using namespace android;
using namespace android::benchmarks;
using benchmark::State;

// Files written at first use into a folder that goes away with the process.
class Files {
  public:
    Files() {
        char folder[] = "/tmp/stallscope-benchmark-XXXXXX";
        mFolder = mkdtemp(folder);
    }
    ~Files() { std::filesystem::remove_all(mFolder); }

    using Generate = std::string (*)(size_t size, bool isNewFormat);

    // The path and, through `size`, the file's size.
    std::string get(Generate generate, const State& state, size_t* size) {
        std::string& path = mPaths[{generate, state.range(0)}];
        if (path.empty()) {
            path = mFolder + "/" + std::to_string(mPaths.size());
            std::ofstream(path) << generate(state.range(0), supportNewBinderLogFormat);
        }
        *size = std::filesystem::file_size(path);
        return path;
    }

  private:
    std::string mFolder;
    std::map<std::pair<Generate, int64_t>, std::string> mPaths;
};

// Measures `work` on a generated file.
void measure(State& state, Files::Generate generate,
             const std::function<void(const std::string&)>& work) {
    static Files files;
    size_t size = 0;
    std::string path = files.get(generate, state, &size);
    for (auto _ : state) {
        work(path);
    }
    state.counters["bytes"] = size;
}

void parse(const std::string& path) {
    BinderLogParser parser;
    parser.parse(path);
    benchmark::DoNotOptimize(parser);
}

void transcribe(const std::string& path, test::ReferenceParser::Compile compile) {
    test::ReferenceParser reference(supportNewBinderLogFormat, compile);
    reference.parse(path);
    benchmark::DoNotOptimize(reference);
}

void readLines(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        benchmark::DoNotOptimize(line);
    }
}

// Runs a program and returns the number that it prints. A pipe, because grep stops at its first
// match when its output is /dev/null.
double runProgram(std::vector<const char*> arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    arguments.push_back(nullptr);
    pid_t pid = 0;
    posix_spawnp(&pid, arguments[0], &actions, nullptr, const_cast<char**>(arguments.data()),
                 environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char text[64] = {};
    ssize_t size = read(ends[0], text, sizeof(text) - 1);
    close(ends[0]);
    waitpid(pid, nullptr, 0);
    return size > 0 ? strtod(text, nullptr) : -1;
}

void parseProcess(State& state) {
    double peak = 0;
    measure(state, generateLog, [&](const std::string& path) {
        peak = runProgram({PARSE_LOG, path.c_str()});
    });
    state.counters["peak"] = peak;
}

void grep(State& state) {
    // Every transaction line of a generated log becomes a record.
    const char* pattern = supportNewBinderLogFormat ? "transaction [0-9]" : "transaction:* from";
    double count = 0;
    measure(state, generateLog, [&](const std::string& path) {
        count = runProgram({"grep", "-c", pattern, path.c_str()});
    });
    state.counters["records"] = count;
    state.counters["record_size"] = sizeof(BinderTransaction);
}

// Grep takes other ways through some files in other locales.
void grepInC(State& state) {
    setenv("LC_ALL", "C", 1);
    grep(state);
    unsetenv("LC_ALL");
}

// Registers a benchmark for each of the sizes.
void add(const char* name, void (*function)(State&), std::vector<int64_t> sizes) {
    for (int64_t size : sizes) {
        benchmark::RegisterBenchmark(name, function)
                ->Arg(size)
                ->Unit(benchmark::kMicrosecond)
                ->UseRealTime()
                ->MinTime(0.1)
                ->Repetitions(20);
    }
}

void addAll() {
    using Compile = test::ReferenceParser::Compile;
    const std::vector<int64_t> sizes = {2'000, 20'000, 200'000, 2'000'000};
    add(
            "parse", [](State& state) { measure(state, generateLog, parse); }, sizes);
    add(
            "getline", [](State& state) { measure(state, generateLog, readLines); }, sizes);
    add("parse_log", parseProcess, sizes);
    add("grep", grep, sizes);
    add("grep_c", grepInC, sizes);
    add("compile_once",
        [](State& state) {
            measure(state, generateLog,
                    [](const std::string& path) { transcribe(path, Compile::Once); });
        },
        {2'000, 20'000, 200'000});
    benchmark::RegisterBenchmark("literal",
                                 [](State& state) {
                                     measure(state, generateLog, [](const std::string& path) {
                                         transcribe(path, Compile::AtEachUse);
                                     });
                                 })
            ->Arg(2'000)
            ->Arg(200'000)
            ->Unit(benchmark::kMicrosecond)
            ->UseRealTime()
            ->Iterations(1);
    add("long_line", [](State& state) { measure(state, generateLongLine, parse); },
        {12'500'000, 25'000'000, 50'000'000, 100'000'000});
    add("from_lines", [](State& state) { measure(state, generateFromLines, parse); },
        {25'000, 50'000, 100'000, 200'000});
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    addAll();
    ParseTables tables;
    benchmark::RunSpecifiedBenchmarks(&tables);
    tables.print();
    return 0;
}
