#ifndef STALLSCOPE_ANALYSIS_OUTPUT_EXCERPTS_H
#define STALLSCOPE_ANALYSIS_OUTPUT_EXCERPTS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "analysis/model/Place.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

// Neighbouring lines of one source.
struct Excerpt {
    uint32_t source = 0;
    uint32_t firstLine = 0;
    std::vector<std::string_view> lines;  // views into the snapshot's texts
};

// Collects lines that are wanted, then reads each text once: Snapshot::lineAt counts from a text's
// start each time.
class Excerpts {
  public:
    // The line and as many before and after it.
    void want(Place place, uint32_t context);
    // In order of source and line, each line once, as far as the snapshot keeps them.
    std::vector<Excerpt> read(const Snapshot& snapshot) const;

  private:
    std::set<Place> mWanted;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_EXCERPTS_H
