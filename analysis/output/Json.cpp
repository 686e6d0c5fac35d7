#include <nlohmann/json.hpp>

#include "analysis/graph/Evidence.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"

namespace stallscope {

namespace {

using nlohmann::ordered_json;

ordered_json textOrNull(std::string_view text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

ordered_json numberOrNull(int64_t number, int64_t none) {
    return number == none ? ordered_json() : ordered_json(number);
}

ordered_json idOf(ThreadId id) {
    return {{"pid", id.pid}, {"tid", id.tid}};
}

// Writes one object's pieces as they come: a whole fleet's log as one tree of values would take
// many times the memory of its text.
class Writer {
  public:
    Writer(const Snapshot& snapshot, const Findings& findings)
          : mSnapshot(snapshot), mFindings(findings), mEvidence(snapshot, findings) {}

    std::string write() {
        member("file", mSnapshot.file);
        member("format", nameOf(mSnapshot.format));
        member("complete", mSnapshot.isComplete());
        member("answer", sentenceOf(mSnapshot, mFindings));
        member("stuck", mFindings.isAnybodyStuck());
        member("thresholdMs", mFindings.thresholdMs);
        member("hasTimes", mFindings.hasTimes);
        if (mFindings.pid != 0) {
            member("pid", mFindings.pid);
        }
        list("rootBlockers", mFindings.rootBlockers);
        list("cycles", mFindings.deadlocks);
        list("chains", mFindings.chains);
        list("exhaustedPools", mFindings.exhaustedPools);
        list("onewayBacklogs", mFindings.onewayBacklogs);
        member("skipped", skipped());
        member("notes", mSnapshot.notes);
        mText += "}\n";
        return std::move(mText);
    }

  private:
    void key(const char* name) {
        mText += mText.empty() ? "{" : ",";
        mText += "\"" + std::string(name) + "\":";
    }
    void value(const ordered_json& json) {
        // Names of processes and lines of logs may hold any bytes.
        mText += json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    }
    void member(const char* name, const ordered_json& json) {
        key(name);
        value(json);
    }
    template <typename Item>
    void list(const char* name, const std::vector<Item>& items) {
        key(name);
        mText += "[";
        bool isFirst = true;
        for (const Item& each : items) {
            if (!isLeftOut(each)) {
                mText += isFirst ? "" : ",";
                isFirst = false;
                value(describe(each));
            }
        }
        mText += "]";
    }

    static bool isLeftOut(const Deadlock&) { return false; }
    static bool isLeftOut(const Chain&) { return false; }
    template <typename Item>
    static bool isLeftOut(const Item& item) {
        return item.isShort;
    }

    ordered_json describe(const RootBlocker& blocker) const {
        const ThreadNode& node = mFindings.threads[blocker.thread];
        ordered_json json = {{"pid", node.id.pid},
                             {"process", textOrNull(node.process)},
                             {"tid", node.id.tid},
                             {"thread", textOrNull(node.name)},
                             {"blockedThreads", blocker.blockedThreads},
                             {"blockedProcesses", blocker.blockedProcesses},
                             {"longestWaitMs", numberOrNull(blocker.longestWaitMs, kNoTime)},
                             {"doing", doingText(mFindings, node)},
                             {"probable", blocker.isProbable}};
        addMovement(node.movement, &json);
        addLines(mEvidence.of(blocker), &json);
        return json;
    }

    ordered_json describe(const Deadlock& deadlock) const {
        ordered_json json = {{"kind", nameOf(deadlock.kind)},
                             {"members", ordered_json::array()},
                             {"edges", ordered_json::array()},
                             {"blockedThreads", deadlock.blockedThreads},
                             {"blockedProcesses", deadlock.blockedProcesses},
                             {"probable", deadlock.isProbable}};
        for (int member : deadlock.members) {
            json["members"].push_back(idOf(mFindings.threads[member].id));
        }
        for (int wait : deadlock.waits) {
            addEdges(mFindings.waits[wait], &json["edges"]);
        }
        addLines(mEvidence.of(deadlock), &json);
        return json;
    }

    ordered_json describe(const Chain& chain) const {
        const End& end = mFindings.ends[chain.end];
        ordered_json json = {{"threads", ordered_json::array()}, {"waits", ordered_json::array()}};
        std::vector<int> threads = mFindings.threadsOf(chain);
        for (int each : threads) {
            const ThreadNode& node = mFindings.threads[each];
            json["threads"].push_back(describe(node));
            if (each != threads.back()) {
                json["waits"].push_back(describe(mFindings.waits[node.nextWait]));
            }
        }
        json["cut"] = chain.isCut;
        json["rootBlocker"] = numberOrNull(end.rootBlocker, kNone);
        json["cycle"] = numberOrNull(end.deadlock, kNone);
        json["doing"] = doingText(mFindings, mFindings.threads[threads.back()]);
        addLines(mEvidence.of(chain), &json);
        return json;
    }

    static ordered_json describe(const ThreadNode& node) {
        return {{"pid", node.id.pid},
                {"process", textOrNull(node.process)},
                {"tid", node.id.tid},
                {"thread", textOrNull(node.name)}};
    }

    ordered_json describe(const ExhaustedPool& pool) const {
        ordered_json json = {{"pid", pool.pid},
                             {"process", textOrNull(pool.process)},
                             {"queued", pool.queued},
                             {"oldestMs", numberOrNull(pool.oldestMs, kNoTime)}};
        addMovement(pool.movement, &json);
        addLines(mEvidence.ofCalls(pool.calls), &json);
        return json;
    }

    ordered_json describe(const OnewayBacklog& backlog) const {
        ordered_json json = {{"pid", backlog.pid},
                             {"process", textOrNull(backlog.process)},
                             {"node", numberOrNull(backlog.node, kNoNode)},
                             {"queued", backlog.queued},
                             {"oldestMs", numberOrNull(backlog.oldestMs, kNoTime)}};
        addLines(mEvidence.ofCalls(backlog.calls), &json);
        return json;
    }

    // All but whom it leads to.
    ordered_json describe(const Wait& wait) const {
        ordered_json json = {{"type", nameOf(wait.type)}};
        if (wait.type == EdgeType::kLock) {
            json["lock"] = wait.lock->object;
            json["class"] = textOrNull(wait.lock->type);
        } else {
            const Call& call = mFindings.calls[wait.call];
            char code[16];
            snprintf(code, sizeof(code), "%x", call.code);
            json["code"] = code;
            json["debugId"] = numberOrNull(call.debugId, kNoDebugId);
            json["node"] = numberOrNull(call.node, kNoNode);
            json["timeMs"] = numberOrNull(call.timeMs, kNoTime);
        }
        if (wait.isDoubtful) {
            json["probable"] = true;
        }
        addLines(mEvidence.of(wait), &json);
        return json;
    }

    void addEdges(const Wait& wait, ordered_json* edges) const {
        ordered_json json = describe(wait);
        json["from"] = describe(mFindings.threads[wait.thread]);
        size_t count = 0;
        const int* targets = mFindings.targetsOf(wait, &count);
        for (size_t i = 0; i < count; ++i) {
            json["to"] = describe(mFindings.threads[targets[i]]);
            edges->push_back(json);
        }
    }

    void addMovement(Movement movement, ordered_json* json) const {
        if (mFindings.isSecondLook) {
            (*json)["movement"] = nameOf(movement);
        }
    }

    // Lines of the file itself, and those of other files by their names.
    void addLines(const std::vector<Place>& places, ordered_json* json) const {
        ordered_json lines = ordered_json::array();
        ordered_json elsewhere = ordered_json::array();
        uint32_t source = 0;
        for (const Place& each : places) {
            if (each.source == 0) {
                lines.push_back(each.line);
                continue;
            }
            if (each.source != source) {
                source = each.source;
                elsewhere.push_back(
                        {{"file", mSnapshot.sources[source]}, {"lines", ordered_json::array()}});
            }
            elsewhere.back()["lines"].push_back(each.line);
        }
        (*json)["lines"] = std::move(lines);
        if (!elsewhere.empty()) {
            (*json)["elsewhere"] = std::move(elsewhere);
        }
    }

    ordered_json skipped() const {
        ordered_json examples = ordered_json::array();
        for (const SkippedLine& each : mSnapshot.lines.examples) {
            ordered_json example = {{"line", each.place.line}, {"text", each.text}};
            if (each.place.source != 0) {
                example["file"] = mSnapshot.sources[each.place.source];
            }
            examples.push_back(std::move(example));
        }
        return {{"lines", mSnapshot.lines.skipped}, {"examples", std::move(examples)}};
    }

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    Evidence mEvidence;
    std::string mText;
};

}  // namespace

std::string writeJson(const Snapshot& snapshot, const Findings& findings) {
    return Writer(snapshot, findings).write();
}

}  // namespace stallscope
