#include "diagnostics/OutputPruning.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "diagnostics/CaptureBounds.h"

namespace android {

namespace fs = std::filesystem;

void pruneToNewestFiles(const fs::path& directory) {
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            files.emplace_back(fs::file_time_type(), entry.path());
        }
    }
    if (files.size() < 2) {
        return;
    }
    // Each time is taken once: a capture of another job may be writing to a file, and a time that
    // changes while it is compared would derail the sort.
    for (auto& [time, file] : files) {
        time = fs::last_write_time(file);
    }
    std::sort(files.begin(), files.end());
    for (size_t i = 0; i + kKeptFiles < files.size(); ++i) {
        fs::remove(files[i].second);
    }
}

}  // namespace android
