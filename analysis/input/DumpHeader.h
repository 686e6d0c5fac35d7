#ifndef STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H
#define STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H

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

// Fills what the header of a thread says; `line` may have line ends in the thread's name. Leaves
// *flavour when the line fits several. False when it is no header.
bool readThreadHeader(std::string_view line, DumpThread* thread, DumpFlavour* flavour);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_DUMPHEADER_H
