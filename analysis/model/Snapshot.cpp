#include "analysis/model/Snapshot.h"

namespace stallscope {

namespace {

// The line-th line of the text from 0 on; empty when there are fewer.
std::string_view lineOf(std::string_view text, uint32_t line) {
    for (; line > 0; --line) {
        size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            return {};
        }
        text.remove_prefix(end + 1);
    }
    text = text.substr(0, text.find('\n'));
    return !text.empty() && text.back() == '\r' ? text.substr(0, text.size() - 1) : text;
}

}  // namespace

std::string_view nameOf(InputFormat format) {
    switch (format) {
        case InputFormat::kBinderLog:
            return "binder-log";
        case InputFormat::kBugReport:
            return "bug-report";
        case InputFormat::kBugReportZip:
            return "bug-report-zip";
        case InputFormat::kThreadDump:
            return "thread-dump";
        case InputFormat::kProcessList:
            return "process-list";
        case InputFormat::kLive:
            return "live";
    }
    return {};
}

std::string_view Snapshot::lineAt(Place place) const {
    const KeptText* piece = nullptr;
    for (const KeptText& each : texts) {
        bool mayHold = each.source == place.source && each.firstLine <= place.line;
        if (mayHold && (piece == nullptr || piece->firstLine <= each.firstLine)) {
            piece = &each;
        }
    }
    return piece == nullptr ? std::string_view()
                            : lineOf(piece->text, place.line - piece->firstLine);
}

}  // namespace stallscope
