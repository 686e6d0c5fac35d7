#include <cstdio>

#include "analysis/graph/Evidence.h"
#include "analysis/output/JsonText.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"

namespace stallscope {

namespace {

class Writer {
  public:
    Writer(const Snapshot& snapshot, const Findings& findings, const TextSink& sink)
          : mSnapshot(snapshot), mFindings(findings), mEvidence(snapshot, findings), mJson(sink) {}

    void write() {
        mJson.open('{');
        mJson.text("file", mSnapshot.file);
        mJson.text("format", nameOf(mSnapshot.format));
        mJson.flag("complete", mSnapshot.isComplete());
        mJson.text("answer", sentenceOf(mSnapshot, mFindings));
        mJson.flag("stuck", mFindings.isAnybodyStuck());
        mJson.number("thresholdMs", mFindings.thresholdMs);
        mJson.flag("hasTimes", mFindings.hasTimes);
        if (mFindings.pid != 0) {
            mJson.number("pid", mFindings.pid);
        }
        list("rootBlockers", mFindings.rootBlockers);
        list("cycles", mFindings.deadlocks);
        list("chains", mFindings.chains);
        list("exhaustedPools", mFindings.exhaustedPools);
        list("onewayBacklogs", mFindings.onewayBacklogs);
        writeSkipped();
        mJson.open("notes", '[');
        for (const std::string& each : mSnapshot.notes) {
            mJson.text(each);
        }
        mJson.close(']');
        mJson.close('}');
        mJson.finish();
    }

  private:
    template <typename Item>
    void list(const char* name, const std::vector<Item>& items) {
        mJson.open(name, '[');
        for (const Item& each : items) {
            if (!isLeftOut(each)) {
                mJson.open('{');
                describe(each);
                mJson.close('}');
            }
        }
        mJson.close(']');
    }

    static bool isLeftOut(const Deadlock&) { return false; }
    static bool isLeftOut(const Chain&) { return false; }
    template <typename Item>
    static bool isLeftOut(const Item& item) {
        return item.isShort;
    }

    void describe(const RootBlocker& blocker) {
        const ThreadNode& node = mFindings.threads[blocker.thread];
        describe(node);
        writeBlocked(blocker);
        mJson.numberOrNull("longestWaitMs", blocker.longestWaitMs, kNoTime);
        mJson.text("doing", doingText(mFindings, node));
        mJson.flag("probable", blocker.isProbable);
        writeMovement(node.movement);
        writeLines(mEvidence.of(blocker));
    }

    void describe(const Deadlock& deadlock) {
        mJson.text("kind", nameOf(deadlock.kind));
        mJson.open("members", '[');
        for (int member : deadlock.members) {
            mJson.open('{');
            writeId(mFindings.threads[member].id);
            mJson.close('}');
        }
        mJson.close(']');
        mJson.open("edges", '[');
        for (int wait : deadlock.waits) {
            writeEdges(mFindings.waits[wait]);
        }
        mJson.close(']');
        writeBlocked(deadlock);
        mJson.flag("probable", deadlock.isProbable);
        writeLines(mEvidence.of(deadlock));
    }

    void describe(const Chain& chain) {
        const End& end = mFindings.ends[chain.end];
        const std::vector<int> threads = mFindings.threadsOf(chain);
        mJson.open("threads", '[');
        for (int each : threads) {
            mJson.open('{');
            describe(mFindings.threads[each]);
            mJson.close('}');
        }
        mJson.close(']');
        mJson.open("waits", '[');
        for (size_t i = 0; i + 1 < threads.size(); ++i) {
            mJson.open('{');
            describe(mFindings.waits[mFindings.threads[threads[i]].nextWait]);
            mJson.close('}');
        }
        mJson.close(']');
        mJson.flag("cut", chain.isCut);
        mJson.numberOrNull("rootBlocker", end.rootBlocker, kNone);
        mJson.numberOrNull("cycle", end.deadlock, kNone);
        mJson.text("doing", doingText(mFindings, mFindings.threads[threads.back()]));
        writeLines(mEvidence.of(chain));
    }

    void describe(const ThreadNode& node) {
        mJson.number("pid", node.id.pid);
        mJson.textOrNull("process", node.process);
        mJson.number("tid", node.id.tid);
        mJson.textOrNull("thread", node.name);
    }

    void describe(const ExhaustedPool& pool) {
        mJson.number("pid", pool.pid);
        mJson.textOrNull("process", pool.process);
        mJson.number("queued", static_cast<int64_t>(pool.queued));
        mJson.numberOrNull("oldestMs", pool.oldestMs, kNoTime);
        writeMovement(pool.movement);
        writeLines(mEvidence.ofCalls(pool.calls));
    }

    void describe(const OnewayBacklog& backlog) {
        mJson.number("pid", backlog.pid);
        mJson.textOrNull("process", backlog.process);
        mJson.numberOrNull("node", backlog.node, kNoNode);
        mJson.number("queued", static_cast<int64_t>(backlog.queued));
        mJson.numberOrNull("oldestMs", backlog.oldestMs, kNoTime);
        writeLines(mEvidence.ofCalls(backlog.calls));
    }

    // All but whom it leads to.
    void describe(const Wait& wait) {
        mJson.text("type", nameOf(wait.type));
        if (wait.type == EdgeType::kLock) {
            mJson.text("lock", wait.lock->object);
            mJson.textOrNull("class", wait.lock->type);
        } else {
            const Call& call = mFindings.calls[wait.call];
            char code[16];
            snprintf(code, sizeof(code), "%x", call.code);
            mJson.text("code", code);
            mJson.numberOrNull("debugId", call.debugId, kNoDebugId);
            mJson.numberOrNull("node", call.node, kNoNode);
            mJson.numberOrNull("timeMs", call.timeMs, kNoTime);
        }
        if (wait.isDoubtful) {
            mJson.flag("probable", true);
        }
        writeLines(mEvidence.of(wait));
    }

    void writeEdges(const Wait& wait) {
        size_t count = 0;
        const int* targets = mFindings.targetsOf(wait, &count);
        for (size_t i = 0; i < count; ++i) {
            mJson.open('{');
            describe(wait);
            mJson.open("from", '{');
            describe(mFindings.threads[wait.thread]);
            mJson.close('}');
            mJson.open("to", '{');
            describe(mFindings.threads[targets[i]]);
            mJson.close('}');
            mJson.close('}');
        }
    }

    void writeId(ThreadId id) {
        mJson.number("pid", id.pid);
        mJson.number("tid", id.tid);
    }

    template <typename AnyEnd>
    void writeBlocked(const AnyEnd& end) {
        mJson.number("blockedThreads", static_cast<int64_t>(end.blockedThreads));
        mJson.number("blockedProcesses", static_cast<int64_t>(end.blockedProcesses));
    }

    void writeMovement(Movement movement) {
        if (mFindings.isSecondLook) {
            mJson.text("movement", nameOf(movement));
        }
    }

    // Lines of the file itself, and those of other files by their names. Sorted: those come last.
    void writeLines(const std::vector<Place>& places) {
        size_t i = 0;
        mJson.open("lines", '[');
        for (; i < places.size() && places[i].source == 0; ++i) {
            mJson.number(places[i].line);
        }
        mJson.close(']');
        if (i == places.size()) {
            return;
        }
        mJson.open("elsewhere", '[');
        while (i < places.size()) {
            uint32_t source = places[i].source;
            mJson.open('{');
            mJson.text("file", mSnapshot.sources[source]);
            mJson.open("lines", '[');
            for (; i < places.size() && places[i].source == source; ++i) {
                mJson.number(places[i].line);
            }
            mJson.close(']');
            mJson.close('}');
        }
        mJson.close(']');
    }

    void writeSkipped() {
        mJson.open("skipped", '{');
        mJson.number("lines", static_cast<int64_t>(mSnapshot.lines.skipped));
        mJson.open("examples", '[');
        for (const SkippedLine& each : mSnapshot.lines.examples) {
            mJson.open('{');
            mJson.number("line", each.place.line);
            mJson.text("text", each.text);
            if (each.place.source != 0) {
                mJson.text("file", mSnapshot.sources[each.place.source]);
            }
            mJson.close('}');
        }
        mJson.close(']');
        mJson.close('}');
    }

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    const Evidence mEvidence;
    JsonText mJson;
};

}  // namespace

void writeJson(const Snapshot& snapshot, const Findings& findings, const TextSink& sink) {
    Writer(snapshot, findings, sink).write();
}

}  // namespace stallscope
