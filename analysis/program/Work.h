#ifndef STALLSCOPE_ANALYSIS_PROGRAM_WORK_H
#define STALLSCOPE_ANALYSIS_PROGRAM_WORK_H

#include "analysis/input/Input.h"
#include "analysis/model/Snapshot.h"
#include "analysis/output/Output.h"
#include "analysis/program/Options.h"

namespace stallscope {

// What all inputs of one run share.
struct Work {
    Options options;
    TextOptions text;
    Names names;                  // --names
    std::vector<Snapshot> dumps;  // --dumps
    const Snapshot* second = nullptr;
};

struct Answer {
    std::string output;
    std::string error;  // one sentence; empty when all went well
    int status = kNobodyStuck;
};

// Reads what the options name besides the inputs. An empty string on success.
std::string prepare(Work* work, Snapshot* second);

// From one file to its answer.
Answer answerFile(const Work& work, const std::string& file, const ReadProgress& progress);

// Of the running system, after one look or two.
Answer answerLive(Work* work);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_WORK_H
