// Readers that are not written yet: each goes when its own file comes.
#include "analysis/input/BugReportReader.h"
#include "analysis/input/ZipReader.h"

namespace stallscope {

struct BugReportReader::State {};
BugReportReader::BugReportReader(Snapshot*, uint32_t) {}
BugReportReader::~BugReportReader() = default;
void BugReportReader::add(std::string_view) {}
void BugReportReader::finish() {}
void readBugReport(std::string_view, Snapshot*) {}
bool looksLikeBugReport(std::string_view) {
    return false;
}

std::string readZip(const std::function<ByteSource()>&, Snapshot*) {
    return "zip files can't be read yet";
}
bool looksLikeZip(std::string_view) {
    return false;
}

}  // namespace stallscope
