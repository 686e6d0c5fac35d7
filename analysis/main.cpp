#include <unistd.h>

#include <cstdio>
#include <exception>

#include "analysis/program/Batch.h"
#include "analysis/program/Terminal.h"

namespace {

int run(const stallscope::Options& options) {
    using namespace stallscope;
    Work work;
    work.options = options;
    work.text = askTerminal();
    work.text.all = options.all;
    Snapshot second;
    std::string error = prepare(&work, &second);
    if (!error.empty()) {
        return finishAnswer({error, kInputError});
    }
    return options.live ? answerLiveSystem(&work) : answerFiles(work);
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    try {
        auto options = stallscope::readOptions(argc, argv, isatty(STDIN_FILENO) == 0, &status);
        return options ? run(*options) : status;
    } catch (const std::exception& error) {
        fprintf(stderr, "stallscope-analyze: %s\n", error.what());
        return stallscope::kInputError;
    }
}
