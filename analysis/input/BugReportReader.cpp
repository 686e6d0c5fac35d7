#include "analysis/input/BugReportReader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "analysis/input/DumpHeader.h"
#include "analysis/input/ReportLine.h"
#include "analysis/input/ReportSections.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

// So much of a line that is not kept is looked at.
constexpr uint64_t kLongestHeading = 4096;
// So much text ahead of the first heading at most.
constexpr size_t kFarEnough = 64 * 1024;

}  // namespace

struct BugReportReader::State {
    State(Snapshot* of, uint32_t source) : snapshot(of), sections(of, source) {}

    void add(std::string_view chunk);
    size_t ignoreLines(std::string_view chunk);
    void addPart(std::string_view text);
    void addLine(std::string_view text, bool hasEnd);
    void readHeading(const ReportHeading& heading);
    void readUnkept(std::string_view text, bool hasEnd);
    void finish();

    Snapshot* snapshot;
    ReportSections sections;
    uint32_t line = 1;
    std::string part;       // the beginning of a line whose end has not come yet
    bool isInLine = false;  // it has a beginning, though nothing of it may be kept
};

void BugReportReader::State::add(std::string_view chunk) {
    while (!chunk.empty()) {
        chunk.remove_prefix(ignoreLines(chunk));
        size_t end = chunk.find('\n');
        if (end == std::string_view::npos) {
            addPart(chunk);
            return;
        }
        if (isInLine) {
            addPart(chunk.substr(0, end));
            addLine(part, true);
            part.clear();
            isInLine = false;
        } else {
            addLine(chunk.substr(0, end), true);
        }
        chunk.remove_prefix(end + 1);
    }
}

// Most of a report is in sections that nobody wants: passes over their lines up to one that may
// begin something else. Returns how many bytes they take.
size_t BugReportReader::State::ignoreLines(std::string_view chunk) {
    if (sections.isOpen() || isInLine) {
        return 0;
    }
    const char* at = chunk.data();
    const char* end = at + chunk.size();
    uint32_t lines = 0;
    while (at != end && *at != '-' && *at != '=') {
        auto* lineEnd = static_cast<const char*>(memchr(at, '\n', end - at));
        if (lineEnd == nullptr) {
            break;
        }
        at = lineEnd + 1;
        ++lines;
    }
    line += lines;
    snapshot->lines.ignored += lines;
    return at - chunk.data();
}

void BugReportReader::State::addPart(std::string_view text) {
    if (!text.empty()) {
        uint64_t most = sections.isOpen() ? sections.room() : kLongestHeading;
        part.append(text.substr(0, most - std::min<uint64_t>(most, part.size())));
        isInLine = true;
    }
}

void BugReportReader::State::addLine(std::string_view text, bool hasEnd) {
    takeSuffix(&text, "\r");
    std::optional<ReportHeading> heading;
    if (beginsWith(text, "------ ")) {
        heading = readReportHeading(text);
    }
    if (heading) {
        readHeading(*heading);
    } else if (sections.isOpen()) {
        sections.add(text, hasEnd);
    } else {
        readUnkept(text, hasEnd);
    }
    ++line;
}

void BugReportReader::State::readHeading(const ReportHeading& heading) {
    if (heading.isEnd) {
        sections.end();
    } else {
        sections.begin(heading.title, line + 1);
    }
    ++(sections.isOpen() ? snapshot->lines.read : snapshot->lines.ignored);
}

// Dumps stand in other sections too, such as those of the activity manager.
void BugReportReader::State::readUnkept(std::string_view text, bool hasEnd) {
    SectionMark mark;
    if (readSectionMark(text, &mark) && mark.kind == SectionMark::kBegin) {
        sections.beginDump(line);
        sections.add(text, hasEnd);
        return;
    }
    std::optional<Moment> moment = readReportMoment(text);
    if (moment && !snapshot->logMoment) {
        snapshot->logMoment = moment;
        ++snapshot->lines.read;
    } else {
        ++snapshot->lines.ignored;
    }
}

void BugReportReader::State::finish() {
    if (isInLine) {
        addLine(part, false);
        isInLine = false;
    }
    sections.finish();
}

BugReportReader::BugReportReader(Snapshot* snapshot, uint32_t source)
      : mState(std::make_unique<State>(snapshot, source)) {}

BugReportReader::~BugReportReader() = default;

void BugReportReader::add(std::string_view chunk) {
    mState->add(chunk);
}

void BugReportReader::finish() {
    mState->finish();
}

void readBugReport(std::string_view text, Snapshot* snapshot) {
    BugReportReader reader(snapshot);
    reader.add(text);
    reader.finish();
}

bool looksLikeBugReport(std::string_view text) {
    Lines lines(text.substr(0, kFarEnough));
    for (std::string_view each; lines.next(&each);) {
        if (beginsWith(each, "== dumpstate: ")) {
            return true;
        }
        if (beginsWith(each, "------ ")) {
            std::optional<ReportHeading> heading = readReportHeading(each);
            if (heading && !heading->origin.empty()) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace stallscope
