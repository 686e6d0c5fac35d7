#ifndef STALLSCOPE_ANALYSIS_PROGRAM_OPTIONS_H
#define STALLSCOPE_ANALYSIS_PROGRAM_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace stallscope {

// Exit statuses. Of several inputs the worst counts: unreadable, then stuck.
inline constexpr int kNobodyStuck = 0;
inline constexpr int kSomebodyStuck = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kInputError = 3;

enum class OutputForm { kText, kJson, kDot, kSvg };

struct Options {
    std::vector<std::string> files;
    bool live = false;
    int pid = 0;
    std::string namesFile;
    std::vector<std::string> dumpFiles;
    double thresholdSeconds = 1;
    std::string secondFile;
    double intervalSeconds = 0;  // 0: one look
    OutputForm form = OutputForm::kText;
    std::string htmlFile;
    bool all = false;
    bool ordered = false;
};

// Reads the command line. Nothing when the program has to end with *status: usage was wrong, which
// has been said, or help or the version was asked for and printed. isPiped: standard input is no
// terminal, and is read when no file is named.
std::optional<Options> readOptions(int argc, char** argv, bool isPiped, int* status);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_OPTIONS_H
