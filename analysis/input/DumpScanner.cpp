#include "analysis/input/DumpScanner.h"

#include <algorithm>
#include <utility>

#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kHotSpotTitle = "Full thread dump ";
constexpr std::string_view kThreadsTitle = "DALVIK THREADS";
constexpr std::string_view kBinderInfo = "Binder Info:";  // the daemon's, ahead of its dumps
constexpr size_t kDateLength = 19;                        // "2026-11-21 21:18:39"

// What stands between sections: the daemon's report on calls, and what those say that have the
// dumps written.
bool isKnownOutside(std::string_view line) {
    constexpr std::string_view kBeginnings[] = {"*** ",
                                                "[dump ",
                                                "--- ",
                                                "outgoing transaction ",
                                                "No binder info found",
                                                "Subject: ",
                                                "Cmd ",
                                                "JVM response code",
                                                "libdebuggerd_client: ",
                                                kBinderInfo};
    return line.empty() || std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                                       [=](auto each) { return beginsWith(line, each); });
}

}  // namespace

DumpScanner::DumpScanner(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count)
      : mPiece(piece),
        mDumps(dumps),
        mDumpsBefore(dumps->size()),
        mCount(count),
        mPlace{piece.source, piece.firstLine} {}

bool DumpScanner::isBeginning(std::string_view line) {
    SectionMark mark;
    return beginsWith(line, kHotSpotTitle) || beginsWith(line, kThreadsTitle) ||
           beginsWith(line, kBinderInfo) || readThreadHeader(line) ||
           (readSectionMark(line, &mark) && mark.kind == SectionMark::kBegin);
}

void DumpScanner::run() {
    Lines lines(mPiece.text);
    for (std::string_view line; lines.next(&line); ++mPlace.line) {
        takeSuffix(&line, "\r");
        if (!completesName(line)) {
            readOrKeep(line);
        }
    }
    dropOpenName();
    closeDump();
}

void DumpScanner::readOrKeep(std::string_view line) {
    bool mayBegin =
            mWhere == Where::kOutside || mWhere == Where::kPreamble || mWhere == Where::kThreads;
    if (!mayBegin || !beginsWith(line, "\"")) {
        file(readLine(line), line);
    } else if (std::optional<ThreadHeader> header = readThreadHeader(line)) {
        beginThread(std::move(*header));
        ++mCount->read;
    } else {
        mOpenName = line;
        closeThread();
    }
}

// A name with a line end in it leaves a quote open: the next line decides.
bool DumpScanner::completesName(std::string_view line) {
    if (mOpenName.empty()) {
        return false;
    }
    const char* begin = mOpenName.data();
    std::string_view joined(begin, line.data() + line.size() - begin);
    std::optional<ThreadHeader> header;
    if (beginsWith(line, "\"") || !(header = readThreadHeader(joined))) {
        dropOpenName();
        return false;
    }
    mOpenName = {};
    beginThread(std::move(*header));
    --dump().threads.back().place.line;
    mCount->read += 2;
    return true;
}

void DumpScanner::dropOpenName() {
    if (!mOpenName.empty()) {
        mCount->skip({mPlace.source, mPlace.line - 1}, mOpenName);
        mOpenName = {};
    }
}

void DumpScanner::file(LineVerdict verdict, std::string_view line) {
    switch (verdict) {
        case LineVerdict::kRead:
            ++mCount->read;
            break;
        case LineVerdict::kIgnored:
            ++mCount->ignored;
            break;
        case LineVerdict::kSkipped:
            mCount->skip(mPlace, line);
            break;
    }
}

LineVerdict DumpScanner::readLine(std::string_view line) {
    SectionMark mark;
    if (readSectionMark(line, &mark)) {
        return readMark(mark);
    }
    if (beginsWith(line, kHotSpotTitle) || beginsWith(line, kThreadsTitle)) {
        return readTitle(line);
    }
    switch (mWhere) {
        case Where::kOutside:
            return readOutside(line);
        case Where::kPreamble:
            return readPreamble(line);
        case Where::kThreads:
            return readThreads(line);
        case Where::kSummary:
            return readSummary(line);
        case Where::kHeap:
        case Where::kChannels:
            break;
    }
    return LineVerdict::kIgnored;
}

LineVerdict DumpScanner::readMark(const SectionMark& mark) {
    switch (mark.kind) {
        case SectionMark::kBegin:
            beginDump(mark.pid, mark.time);
            return LineVerdict::kRead;
        case SectionMark::kEnd:
            closeDump();
            return LineVerdict::kRead;
        case SectionMark::kWaitingChannels:
            closeDump();
            mWhere = Where::kChannels;
            return LineVerdict::kIgnored;
        case SectionMark::kDamaged:
            closeDump();  // what follows may be another process's
            return LineVerdict::kSkipped;
        case SectionMark::kOther:
            break;
    }
    return LineVerdict::kIgnored;
}

// A title begins a dump of its own where none has just begun: that of a JVM that was asked by other
// means than the debugger daemon's.
LineVerdict DumpScanner::readTitle(std::string_view line) {
    bool isHotSpot = beginsWith(line, kHotSpotTitle);
    if (mWhere != Where::kPreamble || mHasTitle) {
        beginDump(isHotSpot ? mOutsidePid : 0, isHotSpot ? mOutsideTime : std::string_view());
    }
    mHasTitle = true;
    if (isHotSpot) {
        dump().flavour = DumpFlavour::kHotSpot;
    }
    return LineVerdict::kRead;
}

LineVerdict DumpScanner::readOutside(std::string_view line) {
    if (line.size() == kDateLength && readMoment(line)) {
        mOutsideTime = line;
        return LineVerdict::kRead;
    }
    mOutsideTime = {};
    mOutsidePid = 0;
    std::string_view number = line;
    if (takeSuffix(&number, ":") && readNumber(number, &mOutsidePid)) {
        mOutsidePid = std::max(mOutsidePid, 0);
        return LineVerdict::kRead;  // jcmd's "1428:"
    }
    bool isIgnored = mDumps->size() == mDumpsBefore || isKnownOutside(line);
    return isIgnored ? LineVerdict::kIgnored : LineVerdict::kSkipped;
}

LineVerdict DumpScanner::readPreamble(std::string_view line) {
    if (!takePrefix(&line, "Cmd line:") && !takePrefix(&line, "Cmdline:")) {
        return LineVerdict::kIgnored;
    }
    if (dump().cmdLine.empty()) {
        dump().cmdLine = trim(line);
    }
    return LineVerdict::kRead;
}

LineVerdict DumpScanner::readThreads(std::string_view line) {
    bool isHeap = line == "Heap";
    bool isSummary = DeadlockSummary::isHeading(line);
    if (!isHeap && !isSummary && !beginsWith(line, "JNI global ref")) {
        return mLines.read(line, mPlace);
    }
    closeThread();
    mWhere = isHeap ? Where::kHeap : isSummary ? Where::kSummary : Where::kThreads;
    return LineVerdict::kIgnored;
}

LineVerdict DumpScanner::readSummary(std::string_view line) {
    bool isKept = mSummary.read(trim(line), mPlace);
    if (mSummary.isOver()) {
        mSummary.apply(&dump());
        mWhere = Where::kThreads;
    }
    return isKept ? LineVerdict::kRead : LineVerdict::kIgnored;
}

void DumpScanner::beginDump(int pid, std::string_view time) {
    closeDump();
    ThreadDump& begun = mDumps->emplace_back();
    begun.pid = pid;
    begun.time = time;
    begun.moment = readMoment(time);
    begun.place = mPlace;
    mWhere = Where::kPreamble;
    mHasTitle = false;
    mOutsideTime = {};
    mOutsidePid = 0;
}

void DumpScanner::closeDump() {
    closeThread();
    if (mWhere == Where::kSummary) {
        mSummary.apply(&dump());
    }
    mWhere = Where::kOutside;
}

// A thread outside of any dump begins one: the head of a dump may have been cut off.
void DumpScanner::beginThread(ThreadHeader header) {
    if (mWhere == Where::kOutside) {
        beginDump(0, {});
    }
    closeThread();
    mWhere = Where::kThreads;
    if (dump().threads.empty() && header.flavour) {
        dump().flavour = *header.flavour;
    }
    header.thread.place = mPlace;
    dump().threads.push_back(std::move(header.thread));
    mLines.begin(&dump().threads.back());
}

void DumpScanner::closeThread() {
    mLines.end(!mDumps->empty() && dump().flavour == DumpFlavour::kHotSpot);
}

}  // namespace stallscope
