#ifndef STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H
#define STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H

#include "analysis/program/Work.h"

namespace stallscope {

// Answers all files of the options on all cores, and prints each answer as soon as it is there, or
// in the order of the files. Errors go to standard error, and don't stop it. Returns the status to
// exit with.
int answerFiles(const Work& work);

// Prints one answer; the error goes to standard error. Returns its status, or another one if
// standard output can't be written.
int printAnswer(const Answer& answer);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_BATCH_H
