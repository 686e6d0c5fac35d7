// Views that are not written yet: each goes when its own file comes.
#include "analysis/output/Output.h"

namespace stallscope {

std::string writeDot(const Snapshot&, const Findings&) {
    return {};
}

std::string writeSvg(const Snapshot&, const Findings&, std::string* error) {
    *error = "pictures can't be drawn yet";
    return {};
}

std::string writeHtml(const Snapshot&, const Findings&) {
    return {};
}

}  // namespace stallscope
