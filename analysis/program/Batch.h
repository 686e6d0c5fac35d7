#ifndef STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H
#define STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H

#include "analysis/program/Work.h"

namespace stallscope {

// Answers all files of the options on all cores, and prints each answer as soon as it is there, or
// in the order of the files. Errors go to standard error, and don't stop it. Returns the status to
// exit with.
int answerFiles(const Work& work);

// The answer of the running system.
int answerLiveSystem(Work* work);

// What ends an answer whose output is printed: its error goes to standard error. Returns its
// status, or another one if standard output can't be written.
int finishAnswer(const Answer& answer);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H
