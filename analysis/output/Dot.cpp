// The graph in Graphviz's language: processes are clusters, the ends have shapes of their own, and
// each type of edge has its line and its arrow head, so that nothing hangs on colour.
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "analysis/output/CleanText.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"
#include "analysis/output/Selection.h"

namespace stallscope {

namespace {

// More is neither drawn in useful time nor read by anybody.
constexpr size_t kMostThreads = 300;
constexpr size_t kLongestText = 60;

constexpr char kHead[] = R"(digraph stallscope {
  graph [rankdir=LR, labelloc=t, labeljust=l, fontname="Helvetica,Arial,sans-serif", fontsize=14,
         nodesep=0.2, ranksep=0.7]
  node [shape=box, style=rounded, fontname="Helvetica,Arial,sans-serif", fontsize=11]
  edge [fontname="Helvetica,Arial,sans-serif", fontsize=10]
)";

constexpr char kLegend[] =
        "\n(double border: blocks others; octagon: deadlock; solid line: served by; dashed: queued "
        "for; "
        "dotted, diamond: lock held by)\n";

constexpr char kServedLook[] = "style=solid, arrowhead=normal";
constexpr char kQueuedLook[] = "style=dashed, arrowhead=empty";
constexpr char kLockLook[] = "style=dotted, penwidth=2, arrowhead=diamond";
constexpr char kBlockerLook[] =
        R"(style="filled,bold", penwidth=3, peripheries=2, fillcolor="#ffe2b8")";
constexpr char kMemberLook[] = R"(shape=octagon, style="filled,bold", fillcolor="#ffd0d0")";

// In double quotes. Of an escString's signs, only a line end of our own is let through.
std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (char each : text) {
        if (each == '\n') {
            out += "\\n";
        } else if (each == '&') {
            out += "&amp;";  // labels may hold entities
        } else {
            if (each == '"' || each == '\\') {
                out += '\\';
            }
            out += each;
        }
    }
    return out + '"';
}

std::string shortPlain(std::string_view text) {
    return shortened(cleanText(text), kLongestText);
}

const char* lookOf(EdgeType type) {
    switch (type) {
        case EdgeType::kServed:
            return kServedLook;
        case EdgeType::kQueued:
            return kQueuedLook;
        case EdgeType::kLock:
            return kLockLook;
    }
    return "";
}

class DotWriter {
  public:
    DotWriter(const Snapshot& snapshot, const Findings& findings)
          : mSnapshot(snapshot),
            mFindings(findings),
            mShown(selectThreads(findings, kMostThreads)) {}

    std::string write() {
        mOut = kHead;
        writeTitle();
        writeThreads();
        for (int each : mShown.threads) {
            writeWaits(mFindings.threads[each]);
        }
        writeLeftOut();
        return std::move(mOut) + "}\n";
    }

  private:
    void writeTitle() {
        mOut += "  label=" + quoted(cleanText(sentenceOf(mSnapshot, mFindings)) + kLegend) + "\n";
    }

    // By process, in clusters: threads are sorted by pid.
    void writeThreads() {
        int pid = kNone;
        for (int each : mShown.threads) {
            const ThreadNode& thread = mFindings.threads[each];
            if (thread.id.pid != pid) {
                mOut += pid == kNone ? "" : "  }\n";
                pid = thread.id.pid;
                mOut += "  subgraph cluster_" + std::to_string(pid) + " {\n    label=" +
                        quoted(shortPlain(processText(pid, thread.process)) + exhaustion(pid)) +
                        "\n";
            }
            writeThread(each);
        }
        mOut += pid == kNone ? "" : "  }\n";
    }

    std::string exhaustion(int pid) const {
        for (const ExhaustedPool& each : mFindings.exhaustedPools) {
            if (each.pid == pid && !each.isShort) {
                return "\nno free thread for " + countText(each.queued, "call");
            }
        }
        return {};
    }

    void writeThread(int index) {
        const ThreadNode& thread = mFindings.threads[index];
        std::string label =
                thread.id.isProcess() ? "any thread" : "thread " + std::to_string(thread.id.tid);
        label += thread.name.empty() ? "" : " " + shortPlain(thread.name);
        const End& end = mFindings.ends[thread.end];
        std::string look;
        if (isMember(index, end)) {
            label = "deadlock " + std::to_string(end.deadlock + 1) + "\n" + label;
            look = kMemberLook;
        } else if (thread.nextThread == kNone) {
            label = "blocker " + std::to_string(end.rootBlocker + 1) + "\n" + label + "\n" +
                    inLines(shortPlain(doingText(mFindings, thread)));
            look = kBlockerLook;
        }
        mOut += "    t" + std::to_string(index) + " [label=" + quoted(label);
        mOut += (look.empty() ? "" : ", " + look) + "]\n";
    }

    // A line for each part of the sentence.
    static std::string inLines(std::string text) {
        for (size_t at = text.find(", "); at != std::string::npos; at = text.find(", ", at)) {
            text.replace(at, 2, "\n");
        }
        return text;
    }

    bool isMember(int index, const End& end) const {
        if (end.deadlock == kNone) {
            return false;
        }
        const std::vector<int>& members = mFindings.deadlocks[end.deadlock].members;
        return std::find(members.begin(), members.end(), index) != members.end();
    }

    void writeWaits(const ThreadNode& thread) {
        for (uint32_t i = thread.waits.begin; i < thread.waits.end; ++i) {
            const Wait& wait = mFindings.waits[i];
            std::string from = "t" + std::to_string(wait.thread);
            size_t count = 0;
            const int* targets = mFindings.targetsOf(wait, &count);
            if (wait.pool != kNone && count > 1) {
                writePool(wait.pool);
                writeEdge(from, "p" + std::to_string(wait.pool), wait.type, labelOf(wait));
            } else if (count == 1 && mShown.shows(*targets)) {
                writeEdge(from, "t" + std::to_string(*targets), wait.type, labelOf(wait));
            }
        }
    }

    // A pool stands between those who wait for it and its threads: n + m edges, not n * m.
    void writePool(int pool) {
        if (std::exchange(mIsPoolWritten[pool], true)) {
            return;
        }
        const std::vector<int>& threads = mFindings.pools[pool].threads;
        std::string name = "p" + std::to_string(pool);
        mOut += "  " + name + " [shape=hexagon, style=solid, label=" +
                quoted("any of " + countText(threads.size(), "thread") + "\nof process " +
                       std::to_string(mFindings.pools[pool].pid)) +
                "]\n";
        for (int each : threads) {
            if (mShown.shows(each)) {
                writeEdge(name, "t" + std::to_string(each), EdgeType::kQueued, "");
            }
        }
    }

    std::string labelOf(const Wait& wait) const {
        std::string label(nameOf(wait.type));
        int64_t time = wait.call == kNone ? kNoTime : mFindings.calls[wait.call].timeMs;
        label += time == kNoTime ? "" : " " + durationText(time);
        return wait.isDoubtful ? "probably\n" + label : label;
    }

    void writeEdge(const std::string& from, const std::string& to, EdgeType type,
                   const std::string& label) {
        mOut += "  " + from + " -> " + to + " [" + lookOf(type);
        mOut += label.empty() ? "]\n" : ", label=" + quoted(label) + "]\n";
    }

    // One node for all that are not shown, at each thread that their way comes to first.
    void writeLeftOut() {
        std::map<int, size_t> counts;
        for (size_t i = 0; mShown.leftOut > 0 && i < mFindings.threads.size(); ++i) {
            int at = static_cast<int>(i);
            if (mFindings.threads[at].end == kNone || mShown.shows(at)) {
                continue;
            }
            while (at != kNone && !mShown.shows(at)) {
                at = mFindings.threads[at].nextThread;
            }
            counts[at] += at == kNone ? 0 : 1;
        }
        for (const auto& [thread, count] : counts) {
            if (thread != kNone) {
                std::string name = "more" + std::to_string(thread);
                mOut += "  " + name +
                        " [shape=plaintext, label=" + quoted(countText(count, "more thread")) +
                        "]\n";
                mOut += "  " + name + " -> t" + std::to_string(thread) + " [style=bold]\n";
            }
        }
    }

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    const Selection mShown;
    std::map<int, bool> mIsPoolWritten;
    std::string mOut;
};

}  // namespace

std::string writeDot(const Snapshot& snapshot, const Findings& findings) {
    return DotWriter(snapshot, findings).write();
}

}  // namespace stallscope
