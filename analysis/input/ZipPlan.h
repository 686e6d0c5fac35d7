#ifndef STALLSCOPE_ANALYSIS_INPUT_ZIPPLAN_H
#define STALLSCOPE_ANALYSIS_INPUT_ZIPPLAN_H

#include <string>
#include <vector>

#include "analysis/input/Archive.h"

namespace stallscope {

// What is worth reading in a zip.
struct ZipPlan {
    std::string mainText;      // the name of the bug report's text; empty if there is none
    std::string folder;        // what all names begin with in a zip of an unpacked report
    bool isMissed = false;     // main_entry.txt names one that is not there
    bool isEncrypted = false;  // some member can't be read without a password
    std::string error;         // why the end of the zip could not be reached; empty if it was

    bool isDump(const std::string& name) const;
};

ZipPlan planZip(const ZipBytes& zip);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_ZIPPLAN_H
