#include "analysis/input/ReportSections.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "analysis/input/BinderLogReader.h"
#include "analysis/input/DumpHeader.h"
#include "analysis/input/ProcessListReader.h"
#include "analysis/input/ReportLine.h"
#include "analysis/input/SettledDumps.h"
#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"
#include "analysis/model/Dumps.h"

namespace stallscope {

namespace {

// More than any real report makes us keep, less than what would end the process.
constexpr uint64_t kMostKept = UINT64_C(1) << 30;
constexpr size_t kMostNotes = 20;

uint64_t countLines(std::string_view text) {
    bool endsOpen = !text.empty() && text.back() != '\n';
    return std::count(text.begin(), text.end(), '\n') + (endsOpen ? 1 : 0);
}

bool endsDump(std::string_view line) {
    SectionMark mark;
    return readSectionMark(line, &mark) && mark.kind == SectionMark::kEnd;
}

}  // namespace

ReportSections::Kind ReportSections::kindOf(std::string_view title) {
    if (title == "BINDER TRANSACTIONS") {
        return Kind::kLog;
    }
    if (title == "BINDER STATE") {
        return Kind::kState;
    }
    if (title == "VM TRACES JUST NOW") {
        return Kind::kTracesNow;
    }
    if (title == "VM TRACES AT LAST ANR") {
        return Kind::kTraces;
    }
    bool isList = title == "PROCESSES" || title == "PROCESSES AND THREADS";
    return isList ? Kind::kProcesses : Kind::kNone;
}

void ReportSections::begin(std::string_view title, uint32_t firstLine) {
    end();
    mKind = kindOf(title);
    mTitle = title;
    mFirstLine = firstLine;
}

void ReportSections::beginDump(uint32_t firstLine) {
    end();
    mKind = Kind::kStrayDump;
    mTitle = "a dump";
    mFirstLine = firstLine;
}

uint64_t ReportSections::room() const {
    return kMostKept - mKept;
}

void ReportSections::add(std::string_view line, bool hasEnd) {
    uint32_t number = mFirstLine + mLines++;
    if (line.size() >= room()) {
        mSnapshot->lines.skip({mSource, number}, line);
        if (!std::exchange(mIsFull, true)) {
            note("The report's sections are larger than what can be kept: parts were left out from "
                 "line " +
                 std::to_string(number) + " on.");
        }
        return;
    }
    mText.append(line);
    if (hasEnd) {
        mText.push_back('\n');
    }
    mKept += line.size() + 1;
    if (mKind == Kind::kStrayDump && endsDump(line)) {
        end();
    }
}

void ReportSections::end() {
    if (mKind != Kind::kNone) {
        mText.resize(contentEnd());
        mText.shrink_to_fit();
        auto owner = std::make_shared<const std::string>(std::move(mText));
        KeptText text;
        text.text = *owner;
        text.source = mSource;
        text.firstLine = mFirstLine;
        text.owner = std::move(owner);
        if (!text.text.empty()) {
            read(text);
        }
    }
    mKind = Kind::kNone;
    mText.clear();
    mLines = 0;
}

// Where the section's content ends. The remarks and blank lines behind it are counted here.
size_t ReportSections::contentEnd() {
    std::string_view text = mText;
    std::string_view complaint;
    while (!text.empty()) {
        std::string_view last = text;
        takeSuffix(&last, "\n");
        last.remove_prefix(last.rfind('\n') + 1);  // npos + 1 is 0
        if (!isReportRemark(last)) {
            break;
        }
        complaint = beginsWith(last, "*** ") ? last : complaint;
        ++mSnapshot->lines.ignored;
        text = text.substr(0, last.data() - text.data());
    }
    if (!complaint.empty() && mKind != Kind::kProcesses) {
        note("The report says of " + mTitle + ": " + std::string(complaint));
    }
    return text.size();
}

void ReportSections::read(const KeptText& text) {
    LineCount* lines = &mSnapshot->lines;
    bool isKept = true;
    switch (mKind) {
        case Kind::kLog:
        case Kind::kState:
            isKept = readBinderText(text);
            break;
        case Kind::kProcesses:
            readProcessList(text, &mSnapshot->names, lines);
            isKept = false;
            break;
        case Kind::kTracesNow:
            readThreadDumps(text, &mSnapshot->dumps, lines);
            break;
        default:
            readThreadDumps(text, &mOtherDumps, lines);
            break;
    }
    if (isKept) {
        mSnapshot->texts.push_back(text);
    } else {
        mKept -= std::min<uint64_t>(mKept, text.text.size());
    }
}

// A second log is of another moment or the same one again: only one can be answered for.
bool ReportSections::readBinderText(const KeptText& text) {
    LineCount* lines = &mSnapshot->lines;
    if (mKind == Kind::kLog && !mSnapshot->log) {
        readBinderLog(text, &mSnapshot->log.emplace(), lines);
        return true;
    }
    if (mKind == Kind::kState && !std::exchange(mHasState, true)) {
        readBinderState(text, &mSnapshot->poolThreads, lines);
        return true;
    }
    lines->ignored += countLines(text.text);
    note("The report has " + mTitle +
         " more than once: only the first was read, not that below line " +
         std::to_string(mFirstLine - 1) + ".");
    return false;
}

void ReportSections::finish() {
    end();
    size_t first = mSnapshot->dumps.size();
    std::move(mOtherDumps.begin(), mOtherDumps.end(), std::back_inserter(mSnapshot->dumps));
    mOtherDumps.clear();
    markDumpsByTime(first, mSnapshot);
    dropCopiedDumps(mSnapshot);
    nameByDumps(mSnapshot);
    if (!mSnapshot->log) {
        note("The report has no binder log: its section BINDER TRANSACTIONS is missing or empty.");
    }
}

void ReportSections::note(const std::string& text) {
    if (mSnapshot->notes.size() < kMostNotes) {
        mSnapshot->notes.push_back(text);
    }
}

}  // namespace stallscope
