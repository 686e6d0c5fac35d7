#include "analysis/program/Options.h"

#include <CLI/CLI.hpp>

#include "packaging/Version.h"

namespace stallscope {

namespace {

constexpr const char* kDescription =
        "Who is really stuck, and where: from the kernel's binder log, a bug report or thread "
        "dumps.";

constexpr const char* kFooter =
        "Exit status: 0 nobody is stuck, 1 somebody is, 2 wrong usage, 3 an input could not be "
        "read.\n"
        "Examples:\n"
        "  stallscope-analyze bugreport.zip\n"
        "  adb shell cat /dev/binderfs/binder_logs/transactions | stallscope-analyze\n"
        "  stallscope-analyze --json --ordered logs/*.txt > fleet.jsonl";

struct Flags {
    bool json = false;
    bool dot = false;
    bool svg = false;
};

void addInputs(CLI::App* app, Options* options) {
    app->add_option("FILE", options->files,
                    "Binder logs, bug reports (text or zip), thread dumps; - is standard input");
    app->add_flag("--live", options->live, "The running system");
    app->add_option("--names", options->namesFile,
                    "Names: ps output, or lines \"PID NAME\" and \"PID:TID NAME\"")
            ->type_name("FILE");
    app->add_option("--dumps", options->dumpFiles,
                    "Thread dumps that were taken at the moment of the log")
            ->type_name("FILE")
            ->allow_extra_args(false);
    app->add_option("--second", options->secondFile,
                    "A later look: who is stuck in the same call, who is only busy")
            ->type_name("FILE");
    app->add_option("--interval", options->intervalSeconds, "Two looks, this many seconds apart")
            ->type_name("S")
            ->check(CLI::PositiveNumber);
}

void addAnswers(CLI::App* app, Options* options) {
    app->add_option("--pid", options->pid, "Only why this process hangs")
            ->type_name("P")
            ->check(CLI::Range(1, 1 << 22));
    app->add_option("--threshold", options->thresholdSeconds,
                    "Leave out waits that are known to be shorter (default 1)")
            ->type_name("S")
            ->check(CLI::Range(0.0, 1e9));
    app->add_flag("--all", options->all, "Everything, not only one screen");
    app->add_flag("--ordered", options->ordered,
                  "Several files' answers in the order of the files");
}

void addForms(CLI::App* app, Options* options, Flags* flags) {
    auto* json = app->add_flag("--json", flags->json, "One JSON object a file and line");
    auto* dot = app->add_flag("--dot", flags->dot, "The graph in Graphviz's language");
    auto* svg = app->add_flag("--svg", flags->svg, "The graph as a picture");
    json->excludes(dot)->excludes(svg);
    dot->excludes(svg);
    app->add_option("--html", options->htmlFile, "Also write a page that explains everything")
            ->type_name("FILE");
}

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

OutputForm formOf(const Flags& flags) {
    return flags.json  ? OutputForm::kJson
           : flags.dot ? OutputForm::kDot
           : flags.svg ? OutputForm::kSvg
                       : OutputForm::kText;
}

}  // namespace

std::optional<Options> readOptions(int argc, char** argv, bool isPiped, int* status) {
    Options options;
    Flags flags;
    CLI::App app(kDescription, "stallscope-analyze");
    app.set_version_flag("--version", "stallscope-analyze " STALLSCOPE_VERSION);
    app.footer(kFooter);
    addInputs(&app, &options);
    addAnswers(&app, &options);
    addForms(&app, &options, &flags);
    try {
        app.parse(argc, argv);
        options.form = formOf(flags);
        std::string problem = contradictionIn(options);
        if (!problem.empty()) {
            throw CLI::ValidationError(problem, CLI::ExitCodes::ValidationError);
        }
        if (options.files.empty() && !options.live) {
            if (!isPiped) {
                throw CLI::ValidationError("Name a file, pipe one in, or add --live",
                                           CLI::ExitCodes::RequiredError);
            }
            options.files.emplace_back("-");
        }
    } catch (const CLI::ParseError& error) {
        *status = app.exit(error) == 0 ? 0 : kUsageError;
        return {};
    }
    return options;
}

}  // namespace stallscope
