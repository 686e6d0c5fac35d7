#ifndef STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H
#define STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H

#include <optional>
#include <string_view>

#include "analysis/model/ThreadDump.h"

namespace stallscope {

// A line of a dump that begins with "-----".
struct SectionMark {
    enum Kind { kBegin, kEnd, kWaitingChannels, kDamaged, kOther };

    Kind kind = kOther;
    int pid = 0;
    std::string_view time;  // as printed
};

// False when the line does not begin with "-----" as a word of its own.
bool readSectionMark(std::string_view line, SectionMark* mark);

struct ThreadHeader {
    DumpThread thread;
    std::optional<DumpFlavour> flavour;  // unless the line fits several
};

// None when the line is no header of a thread. It may have line ends in the thread's name.
std::optional<ThreadHeader> readThreadHeader(std::string_view line);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H
