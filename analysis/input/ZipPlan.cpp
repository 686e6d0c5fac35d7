#include "analysis/input/ZipPlan.h"

#include <algorithm>

#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kMainEntry = "main_entry.txt";
constexpr std::string_view kDumpFolder = "FS/data/anr/";
constexpr size_t kMostMembers = 100'000;
// A zip that unpacks to more than this is no report; nor is the rest of it read.
constexpr uint64_t kMostUnpacked = UINT64_C(2) << 30;

struct Candidate {
    std::string name;
    uint64_t size = 0;
    std::string begin;  // its first bytes

    bool isText() const { return !begin.empty() && begin.find('\0') == std::string::npos; }
};

// Members at the top, and those in folders there: all of a zip may be in one.
bool isNearTop(std::string_view name) {
    size_t slash = name.find('/');
    return slash == std::string_view::npos || name.find('/', slash + 1) == std::string_view::npos;
}

// Reads the member's first bytes, and all of it if nothing else tells its size.
Candidate readCandidate(const ZipMember& member, ZipWalk* walk, uint64_t* unpacked) {
    char buffer[4096];
    Candidate candidate{member.name, member.size, {}};
    uint64_t size = 0;
    ssize_t count = 0;
    do {
        count = walk->read(buffer, sizeof(buffer));
        if (size == 0 && count > 0) {
            candidate.begin.assign(buffer, static_cast<size_t>(count));
        }
        size += static_cast<uint64_t>(std::max<ssize_t>(count, 0));
    } while (count > 0 && !member.isSizeKnown && *unpacked + size < kMostUnpacked);
    *unpacked += size;
    candidate.size = member.isSizeKnown ? member.size : size;
    return candidate;
}

// "report/" when the names of all members begin so.
class CommonFolder {
  public:
    void add(const std::string& name) {
        mFolder = mIsFirst ? name.substr(0, name.find('/') + 1) : mFolder;
        mIsFirst = false;
        if (!beginsWith(name, mFolder)) {
            mFolder.clear();
        }
    }
    const std::string& get() const { return mFolder; }

  private:
    std::string mFolder;
    bool mIsFirst = true;
};

// The text that main_entry.txt names; empty if there is none.
std::string namedText(const std::vector<Candidate>& candidates, const std::string& folder) {
    for (const Candidate& each : candidates) {
        if (each.name == folder + std::string(kMainEntry)) {
            std::string_view name =
                    trim(std::string_view(each.begin).substr(0, each.begin.find('\n')));
            return name.empty() ? "" : folder + std::string(name);
        }
    }
    return {};
}

// Chooses the report's text among the candidates.
void choose(const std::vector<Candidate>& candidates, ZipPlan* plan) {
    std::string named = namedText(candidates, plan->folder);
    uint64_t largest = 0;
    for (const Candidate& each : candidates) {
        std::string_view name = each.name;
        if (name == named) {
            plan->mainText = named;
            return;
        }
        bool isAtTop = takePrefix(&name, plan->folder) && name.find('/') == std::string::npos;
        if (isAtTop && name != kMainEntry && each.isText() && each.size > largest) {
            largest = each.size;
            plan->mainText = each.name;
        }
    }
    plan->isMissed = !named.empty();
}

}  // namespace

bool ZipPlan::isDump(const std::string& name) const {
    std::string_view rest = name;
    return takePrefix(&rest, folder) && takePrefix(&rest, kDumpFolder) && !rest.empty();
}

ZipPlan planZip(const ZipBytes& zip) {
    ZipPlan plan;
    std::vector<Candidate> candidates;
    CommonFolder folder;
    uint64_t unpacked = 0;
    ZipWalk walk(zip);
    ZipMember member;
    for (size_t count = 0; count < kMostMembers && walk.next(&member); ++count) {
        if (!member.isFile) {
            continue;
        }
        folder.add(member.name);
        plan.isEncrypted = plan.isEncrypted || member.isEncrypted;
        if (isNearTop(member.name) && !member.isEncrypted && unpacked < kMostUnpacked) {
            candidates.push_back(readCandidate(member, &walk, &unpacked));
        }
    }
    plan.error = walk.error();
    plan.folder = folder.get();
    choose(candidates, &plan);
    return plan;
}

}  // namespace stallscope
