#include "analysis/input/ThreadDumpReader.h"

#include <algorithm>

#include "analysis/input/DeadlockSummary.h"
#include "analysis/input/DumpHeader.h"
#include "analysis/input/DumpThreadLines.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kHotSpotTitle = "Full thread dump ";
constexpr std::string_view kThreadsTitle = "DALVIK THREADS";
constexpr size_t kDateLength = 19;        // "2026-11-21 21:18:39"
constexpr size_t kFarEnough = 64 * 1024;  // so much text ahead of the first dump at most

// What stands between sections: the daemon's report on calls, and what those say that have the
// dumps written.
bool isKnownOutside(std::string_view line) {
    constexpr std::string_view kBeginnings[] = {"*** ",
                                                "[dump ",
                                                "--- ",
                                                "outgoing transaction ",
                                                "Binder Info:",
                                                "Cmd ",
                                                "libdebuggerd_client: ",
                                                "No binder info found",
                                                "Subject: ",
                                                "JVM response code"};
    return line.empty() || std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                                       [=](auto each) { return beginsWith(line, each); });
}

// Files the lines of dumps; where it stands in a dump tells what a line can be.
class DumpScanner {
  public:
    DumpScanner(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count)
          : mPiece(piece), mDumps(dumps), mDumpsBefore(dumps->size()), mCount(count) {}

    void run() {
        Lines lines(mPiece.text);
        mPlace = {mPiece.source, mPiece.firstLine};
        for (std::string_view line; lines.next(&line); ++mPlace.line) {
            if (!line.empty() && line.back() == '\r') {
                line.remove_suffix(1);
            }
            if (!completesName(line)) {
                readOrKeep(line);
            }
        }
        dropOpenName();
        closeDump();
    }

  private:
    // A dump begins with what the runtime says of itself, which nobody asks for.
    enum class Where { kOutside, kPreamble, kThreads, kSummary, kHeap, kChannels };

    // A name with a line end in it leaves a quote open: the next line decides.
    void readOrKeep(std::string_view line) {
        DumpThread thread;
        DumpFlavour flavour;
        bool mayBegin =
                mWhere != Where::kSummary && mWhere != Where::kChannels && mWhere != Where::kHeap;
        if (mayBegin && beginsWith(line, "\"") && !readThreadHeader(line, &thread, &flavour)) {
            mOpenName = line;
            closeThread();
        } else {
            file(readLine(line), line);
        }
    }

    bool completesName(std::string_view line) {
        if (mOpenName.empty()) {
            return false;
        }
        const char* begin = mOpenName.data();
        std::string_view joined(begin, line.data() + line.size() - begin);
        DumpThread thread;
        DumpFlavour flavour;
        if (beginsWith(line, "\"") || !readThreadHeader(joined, &thread, &flavour)) {
            dropOpenName();
            return false;
        }
        mOpenName = {};
        ++mCount->read;
        file(readHeader(joined), line);
        --dump().threads.back().place.line;
        return true;
    }

    void dropOpenName() {
        if (!mOpenName.empty()) {
            mCount->skip({mPlace.source, mPlace.line - 1}, mOpenName);
            mOpenName = {};
        }
    }

    void file(LineVerdict verdict, std::string_view line) {
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

    LineVerdict readLine(std::string_view line) {
        SectionMark mark;
        if (beginsWith(line, "-----") && readSectionMark(line, &mark)) {
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

    LineVerdict readMark(const SectionMark& mark) {
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

    // A title begins a dump of its own where none has just begun: that of a JVM that was asked by
    // other means than the debugger daemon's.
    LineVerdict readTitle(std::string_view line) {
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

    LineVerdict readOutside(std::string_view line) {
        if (beginsWith(line, "\"")) {
            return readHeader(line);
        }
        std::string_view number = line;
        if (line.size() == kDateLength && readMoment(line)) {
            mOutsideTime = line;
            return LineVerdict::kRead;
        }
        mOutsideTime = {};
        mOutsidePid = 0;
        if (takeSuffix(&number, ":") && readNumber(number, &mOutsidePid)) {
            return LineVerdict::kRead;  // jcmd's "1428:"
        }
        bool isIgnored = mDumps->size() == mDumpsBefore || isKnownOutside(line);
        return isIgnored ? LineVerdict::kIgnored : LineVerdict::kSkipped;
    }

    LineVerdict readPreamble(std::string_view line) {
        if (beginsWith(line, "\"")) {
            return readHeader(line);
        }
        if (takePrefix(&line, "Cmd line:") || takePrefix(&line, "Cmdline:")) {
            if (dump().cmdLine.empty()) {
                dump().cmdLine = trim(line);
            }
            return LineVerdict::kRead;
        }
        return LineVerdict::kIgnored;
    }

    LineVerdict readThreads(std::string_view line) {
        if (beginsWith(line, "\"")) {
            return readHeader(line);
        }
        if (DeadlockSummary::isHeading(line)) {
            closeThread();
            mWhere = Where::kSummary;
            return LineVerdict::kIgnored;
        }
        if (beginsWith(line, "JNI global ref")) {
            closeThread();
            return LineVerdict::kIgnored;
        }
        if (line == "Heap") {
            closeThread();
            mWhere = Where::kHeap;
            return LineVerdict::kIgnored;
        }
        return mLines.read(line, mPlace);
    }

    LineVerdict readSummary(std::string_view line) {
        bool isKept = mSummary.read(trim(line), mPlace);
        if (mSummary.isOver()) {
            mSummary.apply(&dump());
            mWhere = Where::kThreads;
        }
        return isKept ? LineVerdict::kRead : LineVerdict::kIgnored;
    }

    LineVerdict readHeader(std::string_view line) {
        if (mWhere == Where::kOutside) {
            beginDump(0, {});
        }
        DumpThread thread;
        DumpFlavour flavour = dump().flavour;
        readThreadHeader(line, &thread, &flavour);
        closeThread();
        mWhere = Where::kThreads;
        dump().flavour = dump().threads.empty() ? flavour : dump().flavour;
        thread.place = mPlace;
        dump().threads.push_back(std::move(thread));
        mLines.begin(&dump().threads.back());
        return LineVerdict::kRead;
    }

    void beginDump(int pid, std::string_view time) {
        closeDump();
        ThreadDump& dump = mDumps->emplace_back();
        dump.pid = pid;
        dump.time = time;
        dump.moment = readMoment(time);
        dump.place = mPlace;
        mWhere = Where::kPreamble;
        mHasTitle = false;
        mOutsideTime = {};
        mOutsidePid = 0;
    }

    void closeDump() {
        closeThread();
        if (mWhere == Where::kSummary) {
            mSummary.apply(&dump());
        }
        mWhere = Where::kOutside;
    }

    void closeThread() { mLines.end(isHotSpot()); }

    bool isHotSpot() const {
        return !mDumps->empty() && mDumps->back().flavour == DumpFlavour::kHotSpot;
    }
    ThreadDump& dump() { return mDumps->back(); }

    TextPiece mPiece;
    std::vector<ThreadDump>* mDumps;
    size_t mDumpsBefore;
    LineCount* mCount;
    Place mPlace;
    Where mWhere = Where::kOutside;
    bool mHasTitle = false;
    std::string_view mOpenName;
    std::string_view mOutsideTime;
    int mOutsidePid = 0;
    DumpThreadLines mLines;
    DeadlockSummary mSummary;
};

}  // namespace

void readThreadDumps(const TextPiece& piece, std::vector<ThreadDump>* dumps, LineCount* count) {
    DumpScanner(piece, dumps, count).run();
}

bool looksLikeThreadDump(std::string_view text) {
    Lines lines(text.substr(0, kFarEnough));
    for (std::string_view line; lines.next(&line);) {
        SectionMark mark;
        DumpThread thread;
        DumpFlavour flavour;
        if (beginsWith(line, kHotSpotTitle) || beginsWith(line, kThreadsTitle) ||
            beginsWith(line, "Binder Info:") ||
            (readSectionMark(line, &mark) && mark.kind == SectionMark::kBegin) ||
            readThreadHeader(line, &thread, &flavour)) {
            return true;
        }
    }
    return false;
}

}  // namespace stallscope
