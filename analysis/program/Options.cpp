#include "analysis/program/Options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "analysis/input/Tokens.h"
#include "analysis/output/CleanText.h"
#include "packaging/Version.h"

namespace stallscope {

namespace {

constexpr const char* kUsage =
        "usage: stallscope-analyze [OPTIONS] [FILE...]\n"
        "Who is really stuck, and where: from the kernel's binder logs, bug reports (text or zip)\n"
        "or thread dumps. - is standard input, which is also read when it is a pipe and no file\n"
        "is named.\n"
        "Options:\n";

constexpr const char* kFooter =
        "Exit status: 0 nobody is stuck, 1 somebody is, 2 wrong usage, 3 an input could not be "
        "read.\n"
        "Examples:\n"
        "  stallscope-analyze bugreport.zip\n"
        "  adb shell cat /dev/binderfs/binder_logs/transactions | stallscope-analyze\n"
        "  stallscope-analyze --json --ordered logs/*.txt > fleet.jsonl\n";

constexpr int kHighestPid = 1 << 22;
constexpr double kMostSeconds = 1e9;

// What takers of values return: what is wrong with it, behind the option's name, or nothing.
using Problem = std::string;

Problem storeFile(const char* value, std::string* file) {
    *file = value;
    return file->empty() ? "needs the name of a file" : "";
}

// Plain decimal: strtod would also take "inf" and hexadecimal.
bool readSeconds(const char* value, double* seconds) {
    char* end = nullptr;
    *seconds = strtod(value, &end);
    bool isDecimal = strspn(value, "0123456789.eE+-") == strlen(value);
    return isDecimal && end != value && *end == '\0';
}

Problem storeThreshold(const char* value, Options* options) {
    bool isGood = readSeconds(value, &options->thresholdSeconds) &&
                  options->thresholdSeconds >= 0 && options->thresholdSeconds <= kMostSeconds;
    return isGood ? "" : "takes seconds, such as 0, 0.5 or 10";
}

Problem storeInterval(const char* value, Options* options) {
    bool isGood = readSeconds(value, &options->intervalSeconds) && options->intervalSeconds > 0 &&
                  options->intervalSeconds <= kMostSeconds;
    return isGood ? "" : "takes seconds, such as 0.5 or 10";
}

Problem storePid(const char* value, Options* options) {
    bool isGood =
            readNumber(value, &options->pid) && options->pid > 0 && options->pid <= kHighestPid;
    return isGood ? "" : "takes the number of a process, from 1 to " + std::to_string(kHighestPid);
}

Problem storeForm(OutputForm form, Options* options) {
    bool isOther = options->form != OutputForm::kText && options->form != form;
    options->form = form;
    return isOther ? "is one of --json, --dot and --svg: choose one of them" : "";
}

struct Spec {
    const char* name;
    const char* value;  // what it is called; null when the option takes none
    const char* help;
    Problem (*store)(const char* value, Options* options);
    bool isRepeatable = false;
};

constexpr Spec kSpecs[] = {
        {"live", nullptr, "The running system",
         [](const char*, Options* options) -> Problem {
             options->live = true;
             return {};
         }},
        {"names", "FILE", "Names: ps output, or lines \"PID NAME\" and \"PID:TID NAME\"",
         [](const char* value, Options* options) { return storeFile(value, &options->namesFile); }},
        {"dumps", "FILE", "Thread dumps that were taken at the moment of the log; may be repeated",
         [](const char* value, Options* options) {
             return storeFile(value, &options->dumpFiles.emplace_back());
         },
         true},
        {"second", "FILE", "A later look: who is stuck in the same call, who is only busy",
         [](const char* value, Options* options) {
             return storeFile(value, &options->secondFile);
         }},
        {"interval", "S", "With --live: two looks, this many seconds apart", storeInterval},
        {"pid", "P", "Only why this process hangs", storePid},
        {"threshold", "S", "Leave out waits that are known to be shorter (default 1)",
         storeThreshold},
        {"all", nullptr, "Everything, not only one screen",
         [](const char*, Options* options) -> Problem {
             options->all = true;
             return {};
         }},
        {"ordered", nullptr, "Several files' answers in the order of the files",
         [](const char*, Options* options) -> Problem {
             options->ordered = true;
             return {};
         }},
        {"json", nullptr, "One JSON object a file and line",
         [](const char*, Options* options) { return storeForm(OutputForm::kJson, options); }},
        {"dot", nullptr, "The graph in Graphviz's language",
         [](const char*, Options* options) { return storeForm(OutputForm::kDot, options); }},
        {"svg", nullptr, "The graph as a picture",
         [](const char*, Options* options) { return storeForm(OutputForm::kSvg, options); }},
        {"html", "FILE", "Also write a page that explains everything",
         [](const char* value, Options* options) { return storeFile(value, &options->htmlFile); }},
};

// What getopt_long returns for the first of kSpecs; below are characters.
constexpr int kFirstSpec = 256;
constexpr int kVersion = kFirstSpec + static_cast<int>(std::size(kSpecs));

// Operands are taken where they stand, and errors told by what getopt_long returns.
constexpr const char* kShortOptions = "-:h";

void printHelp() {
    fputs(kUsage, stdout);
    for (const Spec& each : kSpecs) {
        std::string option = "--" + std::string(each.name);
        option += each.value == nullptr ? "" : " " + std::string(each.value);
        printf("  %-15s %s\n", option.c_str(), each.help);
    }
    printf("  %-15s %s\n  %-15s %s\n", "-h, --help", "This text", "--version", "Which release");
    fputs(kFooter, stdout);
}

// Takes the command line apart.
class Reader {
  public:
    explicit Reader(Options* options) : mOptions(options) {
        int number = kFirstSpec;
        for (const Spec& each : kSpecs) {
            int value = each.value == nullptr ? no_argument : required_argument;
            mTable.push_back({each.name, value, nullptr, number++});
        }
        mTable.push_back({"version", no_argument, nullptr, kVersion});
        mTable.push_back({"help", no_argument, nullptr, 'h'});
        mTable.push_back({});
    }

    // What is wrong, one sentence; empty when nothing is.
    std::string read(int argc, char** argv) {
        opterr = 0;
        optind = 1;
        while (!mIsDone && optind < argc) {
            const char* word = argv[optind];
            int found = getopt_long(argc, argv, kShortOptions, mTable.data(), nullptr);
            if (found == -1) {  // "--": what follows are operands
                mOptions->files.insert(mOptions->files.end(), argv + optind, argv + argc);
                return {};
            }
            std::string problem = take(found, word);
            if (!problem.empty()) {
                return problem;
            }
        }
        return {};
    }

    // Help or the version was asked for and printed.
    bool isDone() const { return mIsDone; }

  private:
    std::string take(int found, const char* word) {
        if (found == 1) {
            mOptions->files.emplace_back(optarg);
            return {};
        }
        if (found == '?' || found == ':') {
            return problemOf(found, word);
        }
        // getopt_long takes the beginning of a name for the whole. What it stands for would change
        // with the next option.
        std::string name = nameOf(found);
        std::string_view typed = std::string_view(word).substr(0, strcspn(word, "="));
        if (typed != name && typed != "-h") {
            return "Unknown option " + cleanText(typed) + ": write " + name + " if you mean that";
        }
        if (found == 'h') {
            printHelp();
        } else if (found == kVersion) {
            puts("stallscope-analyze " STALLSCOPE_VERSION);
        } else {
            return store(found - kFirstSpec, name);
        }
        mIsDone = true;
        return {};
    }

    std::string store(size_t index, const std::string& name) {
        const Spec& spec = kSpecs[index];
        if (spec.value != nullptr && !spec.isRepeatable && mIsSeen[index]) {
            return name + " is there twice: give it once";
        }
        mIsSeen[index] = true;
        Problem problem = spec.store(optarg, mOptions);
        return problem.empty() ? problem : name + " " + problem;
    }

    std::string problemOf(int found, const char* word) const {
        std::string name = nameOf(optopt);
        if (found == ':') {
            return name + " needs a value: " + name + " " + kSpecs[optopt - kFirstSpec].value;
        }
        if (!name.empty()) {
            return name + " takes no value: write " + name + " alone";
        }
        return "Unknown option " + cleanText(word) + ": see stallscope-analyze --help";
    }

    // "--json"; empty for a number that is none of the table's.
    std::string nameOf(int number) const {
        for (const option& each : mTable) {
            if (each.name != nullptr && each.val == number) {
                return "--" + std::string(each.name);
            }
        }
        return {};
    }

    Options* mOptions;
    std::vector<option> mTable;
    bool mIsSeen[std::size(kSpecs)] = {};
    bool mIsDone = false;
};

// What the single options can't know of each other.
std::string contradictionIn(const Options& options) {
    bool isPicture = options.form == OutputForm::kDot || options.form == OutputForm::kSvg;
    bool isMany = options.files.size() > 1;
    if (options.live && !options.files.empty()) {
        return "--live reads the running system: name no file with it";
    }
    if (options.intervalSeconds > 0 && !options.live) {
        return "--interval takes two looks at the running system: add --live, or name the second "
               "log with --second";
    }
    if (!options.secondFile.empty() && options.intervalSeconds > 0) {
        return "--second and --interval are two ways to say the same: leave one out";
    }
    if (isMany && (isPicture || !options.htmlFile.empty() || !options.secondFile.empty() ||
                   !options.dumpFiles.empty())) {
        return "--dot, --svg, --html, --second and --dumps work on one input: name one file";
    }
    return {};
}

}  // namespace

std::optional<Options> readOptions(int argc, char** argv, bool isPiped, int* status) {
    Options options;
    Reader reader(&options);
    std::string problem = reader.read(argc, argv);
    if (reader.isDone()) {
        *status = 0;
        return {};
    }
    problem = problem.empty() ? contradictionIn(options) : problem;
    if (problem.empty() && options.files.empty() && !options.live) {
        options.files.emplace_back("-");
        problem = isPiped ? "" : "Name a file, pipe one in, or add --live";
    }
    if (!problem.empty()) {
        fprintf(stderr, "stallscope-analyze: %s\n", problem.c_str());
        *status = kUsageError;
        return {};
    }
    return options;
}

}  // namespace stallscope
