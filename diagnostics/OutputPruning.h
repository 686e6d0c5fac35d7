#ifndef STALLSCOPE_DIAGNOSTICS_OUTPUTPRUNING_H
#define STALLSCOPE_DIAGNOSTICS_OUTPUTPRUNING_H

#include <filesystem>

namespace android {

// Removes all but the five most recently written regular files of the directory; symbolic links
// count as what they point to, anything else is left alone. A file that is gone already is passed
// over; every other failure ends the process.
void pruneToNewestFiles(const std::filesystem::path& directory);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_OUTPUTPRUNING_H
