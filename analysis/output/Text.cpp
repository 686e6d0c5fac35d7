#include <algorithm>
#include <map>

#include "analysis/graph/Evidence.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"
#include "analysis/output/TextLayout.h"

namespace stallscope {

namespace {

constexpr size_t kMostLines = 8;  // of evidence behind one statement

class Writer {
  public:
    Writer(const Snapshot& snapshot, const Findings& findings, const TextOptions& options)
          : mSnapshot(snapshot),
            mFindings(findings),
            mEvidence(snapshot, findings),
            mLayout(options) {}

    std::string write() {
        mLayout.line(sentenceOf(mSnapshot, mFindings),
                     mFindings.isAnybodyStuck() ? Style::kBad : Style::kGood);
        writeCaveats();
        mLayout.gap();
        writeDeadlocks();
        writeRanking();
        writeQueues();
        writeChains();
        writeSkipped();
        return mLayout.take();
    }

  private:
    void heading(const std::string& text) { mLayout.line(text, Style::kHeading); }

    void writeRanking() {
        std::vector<std::vector<std::string>> rows = {
                {"", "who holds up others", "threads", "processes", "longest", "doing"}};
        std::vector<std::string> behind = {""};
        for (const RootBlocker& each : mFindings.rootBlockers) {
            if (each.isShort || mLayout.isFull(rows.size())) {
                break;
            }
            const ThreadNode& node = mFindings.threads[each.thread];
            std::string time = durationText(each.longestWaitMs);
            rows.push_back({std::to_string(rows.size()), threadText(node),
                            std::to_string(each.blockedThreads),
                            std::to_string(each.blockedProcesses), time.empty() ? "?" : time,
                            movementText(node) + (each.isProbable ? "probably, " : "") +
                                    doingText(mFindings, node)});
            behind.push_back(placesText(mEvidence.of(each)));
        }
        if (rows.size() == 1) {
            return;
        }
        mLayout.table(rows, behind);
        mLayout.gap();
    }

    std::string movementText(const ThreadNode& node) const {
        return node.movement == Movement::kUnknown ? "" : std::string(nameOf(node.movement)) + ": ";
    }

    void writeDeadlocks() {
        for (const Deadlock& each : mFindings.deadlocks) {
            if (mLayout.isFull()) {
                return;
            }
            heading((each.isProbable ? "Probably a deadlock" : "Deadlock") + std::string(" (") +
                    std::string(nameOf(each.kind)) + "), holds up " +
                    countText(each.blockedThreads, "thread") + " in " +
                    countText(each.blockedProcesses, "other process"));
            for (int member : each.members) {
                writeMember(mFindings.threads[member]);
            }
            mLayout.gap();
        }
    }

    void writeMember(const ThreadNode& node) {
        mLayout.line("  " + threadText(node), Style::kPlain, placesText(mEvidence.of(node)));
        for (uint32_t i = node.waits.begin; i < node.waits.end; ++i) {
            const Wait& wait = mFindings.waits[i];
            mLayout.line("    " + waitText(mFindings, wait) + ": " + targetText(wait),
                         Style::kPlain, placesText(mEvidence.of(wait)));
        }
    }

    std::string targetText(const Wait& wait) const {
        if (wait.pool == kNone) {
            return (wait.type == EdgeType::kLock ? "held by " : "served by ") +
                   threadText(mFindings.threads[wait.target]);
        }
        const Pool& pool = mFindings.pools[wait.pool];
        const ThreadNode& first = mFindings.threads[pool.threads.front()];
        std::string text = processText(pool.pid, first.process);
        if (first.id.isProcess()) {
            return "for a thread of " + text;
        }
        return (pool.threads.size() == 1 ? "for the only pool thread of "
                                         : "for one of the " + std::to_string(pool.threads.size()) +
                                                   " pool threads of ") +
               text;
    }

    void writeQueues() {
        size_t before = mLines;
        for (const ExhaustedPool& each : mFindings.exhaustedPools) {
            if (!each.isShort && !mLayout.isFull()) {
                writeQueue("No free binder thread in " + processText(each.pid, each.process) +
                                   " for " + countText(each.queued, "call"),
                           each.oldestMs, each.calls);
            }
        }
        for (const OnewayBacklog& each : mFindings.onewayBacklogs) {
            if (!each.isShort && !mLayout.isFull()) {
                std::string node =
                        each.node == kNoNode ? "" : " on node " + std::to_string(each.node);
                writeQueue(countText(each.queued, "one-way call") + " queued" + node + " of " +
                                   processText(each.pid, each.process),
                           each.oldestMs, each.calls);
            }
        }
        if (mLines != before) {
            mLayout.gap();
        }
    }

    void writeQueue(std::string text, int64_t oldestMs, const std::vector<int>& calls) {
        text += oldestMs == kNoTime ? "" : ", the oldest for " + durationText(oldestMs);
        mLayout.line(text, Style::kPlain, placesText(mEvidence.ofCalls(calls)));
        ++mLines;
    }

    // All chains to one end are a tree below it: each thread under the one it waits for.
    void writeChains() {
        if (mLayout.isFull()) {
            return;
        }
        std::map<int, std::vector<int>> waiters;
        std::vector<bool> isSeen(mFindings.threads.size());
        std::vector<int> ends;
        for (const Chain& chain : mFindings.chains) {
            std::vector<int> threads = mFindings.threadsOf(chain);
            for (size_t i = 0; i + 1 < threads.size() && !isSeen[threads[i]]; ++i) {
                isSeen[threads[i]] = true;
                waiters[threads[i + 1]].push_back(threads[i]);
            }
            int last = threads.back();
            if (!isSeen[last] && !chain.isCut) {
                isSeen[last] = true;
                ends.push_back(last);
            }
        }
        for (int each : ends) {
            const ThreadNode& node = mFindings.threads[each];
            heading("Waiting for " + threadText(node));
            writeWaiters(each, waiters);
            mLayout.gap();
        }
    }

    void writeWaiters(int end, const std::map<int, std::vector<int>>& waiters) {
        struct Open {
            int thread = kNone;
            size_t depth = 0;
        };
        std::vector<Open> open = {{end, 0}};
        while (!open.empty() && !mLayout.isFull()) {
            Open now = open.back();
            open.pop_back();
            if (now.depth > 0) {
                const ThreadNode& node = mFindings.threads[now.thread];
                const Wait& wait = mFindings.waits[node.nextWait];
                mLayout.line(std::string(2 * now.depth, ' ') + threadText(node) + " " +
                                     waitText(mFindings, wait),
                             Style::kPlain, placesText(mEvidence.of(wait)));
            }
            auto found = waiters.find(now.thread);
            if (found != waiters.end()) {
                for (auto each = found->second.rbegin(); each != found->second.rend(); ++each) {
                    open.push_back({*each, now.depth + 1});
                }
            }
        }
    }

    // What the answer's reader has to know before he trusts it.
    void writeCaveats() {
        mLayout.line("From " + mSnapshot.file + " (" + std::string(nameOf(mSnapshot.format)) +
                             ", " + countText(mSnapshot.lines.lines(), "line") + ")",
                     Style::kFaint);
        for (const std::string& each : caveatsOf(mSnapshot)) {
            mLayout.line(each);
        }
    }

    void writeSkipped() {
        if (mSnapshot.lines.skipped == 0) {
            return;
        }
        heading(countText(mSnapshot.lines.skipped, "line") + " could not be read");
        for (const SkippedLine& each : mSnapshot.lines.examples) {
            mLayout.line("  " + placesText({each.place}) + " " + each.text);
        }
    }

    // "[lines 3, 7]", with the name of a file in front of lines of another than the input itself
    std::string placesText(const std::vector<Place>& places) const {
        if (places.empty()) {
            return {};
        }
        std::string text = places.size() == 1 ? "[line " : "[lines ";
        uint32_t source = 0;
        for (size_t i = 0; i < places.size(); ++i) {
            text += i == 0 ? "" : ", ";
            if (i == kMostLines && places.size() > kMostLines + 1) {
                return text + std::to_string(places.size() - i) + " more]";
            }
            if (places[i].source != source) {
                source = places[i].source;
                text += mSnapshot.sources[source] + ":";
            }
            text += std::to_string(places[i].line);
        }
        return text + "]";
    }

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    Evidence mEvidence;
    TextLayout mLayout;
    size_t mLines = 0;
};

}  // namespace

std::string writeText(const Snapshot& snapshot, const Findings& findings,
                      const TextOptions& options) {
    return Writer(snapshot, findings, options).write();
}

}  // namespace stallscope
