#include "analysis/input/DumpHeader.h"

#include <algorithm>
#include <utility>

#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kDashes = "-----";

// Fills in pid and time of "1234 at 2016-03-03 12:12:12 -----". A line that was cut short is taken
// as far as it goes, but never a part of the number.
bool readPidAndTime(Tokens* tokens, SectionMark* mark) {
    if (!readNumber(tokens->next(), &mark->pid) || mark->pid < 0 || tokens->next() != "at") {
        return false;
    }
    mark->time = tokens->rest();
    mark->time = mark->time.substr(0, std::min(mark->time.size(), mark->time.rfind(" -----")));
    return true;
}

// "0x134" or, since JDK 20, "308"
int readNativeId(std::string_view text) {
    int id = 0;
    int base = takePrefix(&text, "0x") ? 16 : 10;
    bool isNumber = readNumber(text, &id, base);
    return isNumber && id > 0 ? id : 0;
}

// "waiting for monitor entry  [0x00007f5970f9d000]"
std::string_view withoutStackAddress(std::string_view state) {
    state = state.substr(0, std::min(state.size(), state.rfind('[')));
    while (!state.empty() && isBlank(state.back())) {
        state.remove_suffix(1);
    }
    return state;
}

// Dalvik's states are in capitals ("TIMED_WAIT"), ART's are not ("TimedWaiting").
DumpFlavour flavourOf(std::string_view state) {
    bool hasSmallLetter = std::any_of(state.begin(), state.end(),
                                      [](char each) { return each >= 'a' && each <= 'z'; });
    return hasSmallLetter ? DumpFlavour::kArt : DumpFlavour::kDalvik;
}

// What follows the name in a header:
//   " prio=5 tid=1 MONITOR", " daemon prio=5 tid=3 Runnable", " prio=5 (not attached)"
//   " #12 prio=5 os_prio=0 cpu=0.33ms elapsed=2.92s tid=0x00007f5994118790 nid=0x5a6 in
//   Object.wait()  [...]" " sysTid=335"
class HeaderTail {
  public:
    HeaderTail(std::string_view tail, ThreadHeader* header)
          : mTokens(tail), mThread(&header->thread), mFlavour(&header->flavour) {}

    bool read() {
        for (std::string_view word = mTokens.next(); !word.empty() && readWord(word);
             word = mTokens.next()) {
        }
        return mIsHeader;
    }

  private:
    // False when there is nothing more to read.
    bool readWord(std::string_view word) {
        if (takePrefix(&word, "sysTid=")) {
            return finish(readNumber(word, &mThread->sysTid), DumpFlavour::kNative);
        }
        if (takePrefix(&word, "nid=")) {
            mThread->sysTid = readNativeId(word);
            mThread->state = withoutStackAddress(mTokens.rest());
            return finish(true, DumpFlavour::kHotSpot);
        }
        if (takePrefix(&word, "tid=")) {
            return readTid(word);
        }
        if (word == "(not") {
            mThread->isAttached = mTokens.next() != "attached)";
            mIsHeader = mIsHeader || !mThread->isAttached;
            return false;
        }
        return isWordBetween(word);
    }

    bool isWordBetween(std::string_view word) {
        bool isPriority = beginsWith(word, "prio=") || beginsWith(word, "os_prio=");
        mIsHeader = mIsHeader || isPriority;
        mThread->isDaemon = mThread->isDaemon || word == "daemon";
        return isPriority || word == "daemon" || word.front() == '#' || word.front() == '[' ||
               word.find('=') != std::string_view::npos;
    }

    // HotSpot prints an address as `tid`, and the number that counts later as `nid`.
    bool readTid(std::string_view value) {
        mIsHeader = true;
        if (beginsWith(value, "0x")) {
            *mFlavour = DumpFlavour::kHotSpot;
            return true;
        }
        readNumber(value, &mThread->dumpTid);
        mThread->state = mTokens.rest();
        return finish(true, flavourOf(mThread->state));
    }

    bool finish(bool isHeader, DumpFlavour flavour) {
        mIsHeader = mIsHeader || isHeader;
        *mFlavour = flavour;
        return false;
    }

    Tokens mTokens;
    DumpThread* mThread;
    std::optional<DumpFlavour>* mFlavour;
    bool mIsHeader = false;
};

}  // namespace

// debuggerd's dump_process_header() and ART's SignalCatcher::HandleSigQuit():
//   ----- pid 1234 at 2023-05-04 10:11:12.123456789+0200 -----
//   ----- end 1234 -----
// and, ahead of the wait channels that the system server adds:
//   ----- Waiting Channels: pid 1234 at 2016-03-03 12:12:12 -----
bool readSectionMark(std::string_view line, SectionMark* mark) {
    Tokens tokens(line);
    if (!beginsWith(line, kDashes) || tokens.next() != kDashes) {
        return false;
    }
    *mark = {};
    std::string_view word = tokens.next();
    if (word == "pid") {
        mark->kind = readPidAndTime(&tokens, mark) ? SectionMark::kBegin : SectionMark::kDamaged;
    } else if (word == "end") {
        bool isEnd = readNumber(tokens.next(), &mark->pid);
        mark->kind = isEnd ? SectionMark::kEnd : SectionMark::kDamaged;
    } else if (word == "Waiting") {
        mark->kind = SectionMark::kWaitingChannels;
    }
    return true;
}

std::optional<ThreadHeader> readThreadHeader(std::string_view line) {
    size_t quote = beginsWith(line, "\"") ? line.rfind('"') : 0;
    if (quote == 0) {
        return std::nullopt;
    }
    ThreadHeader header;
    header.thread.name = line.substr(1, quote - 1);
    bool isHeader = HeaderTail(line.substr(quote + 1), &header).read();
    return isHeader ? std::optional<ThreadHeader>(std::move(header)) : std::nullopt;
}

}  // namespace stallscope
