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

// What there is to say of an answer besides its output, which goes to a sink.
struct Answer {
    std::string error;  // one sentence; empty when all went well
    int status = kNobodyStuck;
};

// Reads what the options name besides the inputs. An empty string on success.
std::string prepare(Work* work, Snapshot* second);

// From one file to its answer.
Answer answerFile(const Work& work, const std::string& file, const ReadProgress& progress,
                  const TextSink& sink);

// Of the running system, after one look or two.
Answer answerLive(Work* work, const TextSink& sink);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_WORK_H
