#include "analysis/input/ZipReader.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "analysis/input/BugReportReader.h"
#include "analysis/input/SettledDumps.h"
#include "analysis/input/ThreadDumpReader.h"
#include "analysis/input/Tokens.h"
#include "analysis/input/ZipPlan.h"

namespace stallscope {

namespace {

// Beyond these a zip is made to exhaust whoever unpacks it.
constexpr uint64_t kMostUnpacked = UINT64_C(4) << 30;
constexpr uint64_t kMostDumps = UINT64_C(1) << 30;
constexpr size_t kChunk = 256 * 1024;

class Unpacking {
  public:
    Unpacking(const ZipBytes& zip, ZipPlan plan, Snapshot* snapshot)
          : mWalk(zip), mPlan(std::move(plan)), mSnapshot(snapshot), mChunk(kChunk, '\0') {}

    // False when the zip unpacks to more than is sound.
    bool run() {
        bool hasMainText = false;
        for (ZipMember member; mWalk.next(&member);) {
            if (!member.isFile || member.isEncrypted) {
                continue;
            }
            if (member.name == mPlan.mainText && !std::exchange(hasMainText, true)) {
                readMainText();
            } else if (mPlan.isDump(member.name)) {
                readDumpFile(member.name);
            }
        }
        settle();
        return mUnpacked < kMostUnpacked;
    }

    const std::string& error() const { return mWalk.error(); }

  private:
    // The next part of the member; empty at its end and when all that is sound was read.
    std::string_view readChunk() {
        ssize_t count = mUnpacked < kMostUnpacked ? mWalk.read(mChunk.data(), mChunk.size()) : 0;
        size_t size = static_cast<size_t>(std::max<ssize_t>(count, 0));
        mUnpacked += size;
        return std::string_view(mChunk).substr(0, size);
    }

    void readMainText() {
        BugReportReader reader(mSnapshot);
        for (std::string_view chunk = readChunk(); !chunk.empty(); chunk = readChunk()) {
            reader.add(chunk);
        }
        reader.finish();
    }

    void readDumpFile(const std::string& name) {
        auto text = std::make_shared<std::string>();
        for (std::string_view chunk = readChunk();
             !chunk.empty() && mDumpBytes + text->size() < kMostDumps; chunk = readChunk()) {
            text->append(chunk);
            if (text->size() == chunk.size() && !looksLikeThreadDump(chunk)) {
                return;
            }
        }
        if (!text->empty()) {
            text->shrink_to_fit();
            mDumpBytes += text->size();
            keepDumps(name, text);
        }
    }

    void keepDumps(const std::string& name, const std::shared_ptr<std::string>& text) {
        KeptText piece;
        piece.text = *text;
        piece.source = static_cast<uint32_t>(mSnapshot->sources.size());
        piece.owner = text;
        mSnapshot->sources.push_back(name);
        mSnapshot->texts.push_back(piece);
        readThreadDumps(piece, &mDumps, &mSnapshot->lines);
    }

    // The text's own dumps come first, wherever it stands in the zip.
    void settle() {
        size_t first = mSnapshot->dumps.size();
        std::move(mDumps.begin(), mDumps.end(), std::back_inserter(mSnapshot->dumps));
        markDumpsByTime(first, mSnapshot);
        dropCopiedDumps(mSnapshot);
    }

    ZipWalk mWalk;
    ZipPlan mPlan;
    Snapshot* mSnapshot;
    std::string mChunk;
    uint64_t mUnpacked = 0;
    uint64_t mDumpBytes = 0;
    std::vector<ThreadDump> mDumps;
};

std::string whyNoText(const ZipPlan& plan) {
    if (plan.isEncrypted) {
        return "is encrypted: unpack it and give the text in it";
    }
    if (!plan.error.empty()) {
        return "is damaged (" + plan.error + "): copy it again, or unpack what is left of it and " +
               "give the text in it";
    }
    return "has no text file at its top level, so it is no bug report: unpack it and give the "
           "files in it";
}

}  // namespace

std::string readZip(const ZipBytes& zip, Snapshot* snapshot) {
    ZipPlan plan = planZip(zip);
    if (plan.mainText.empty() || (plan.isMissed && plan.isEncrypted)) {
        return whyNoText(plan);
    }
    if (plan.isMissed) {
        snapshot->notes.push_back("main_entry.txt names a text that is not in the zip: " +
                                  plan.mainText + " was read instead.");
    }
    Unpacking unpacking(zip, std::move(plan), snapshot);
    if (!unpacking.run()) {
        return "unpacks to more than any bug report: unpack it and give the text in it";
    }
    if (!unpacking.error().empty()) {
        snapshot->notes.push_back(
                "The zip is damaged, so something may be missing: " + unpacking.error() + ".");
    }
    return {};
}

bool looksLikeZip(std::string_view text) {
    using namespace std::string_view_literals;
    return beginsWith(text, "PK\x03\x04"sv) || beginsWith(text, "PK\x05\x06"sv);
}

}  // namespace stallscope
