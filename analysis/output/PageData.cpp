#include "analysis/output/PageData.h"

#include <json/json.h>

#include <algorithm>

#include "analysis/graph/Evidence.h"
#include "analysis/output/CleanText.h"
#include "analysis/output/Excerpts.h"
#include "analysis/output/Output.h"
#include "analysis/output/Phrases.h"
#include "analysis/output/Selection.h"

namespace stallscope {

namespace {

constexpr size_t kMostThreads = 10000;
constexpr size_t kLongestLine = 1000;
constexpr uint32_t kContext = 2;
constexpr uint32_t kMostDumpLines = 80;

Json::Value textOf(std::string_view text) {
    return shortened(cleanText(text.substr(0, kLongestLine)), kLongestLine);
}

Json::Value timeOf(int64_t milliseconds) {
    return milliseconds == kNoTime ? Json::Value() : Json::Value(Json::Int64(milliseconds));
}

Json::Value placeOf(Place place) {
    Json::Value out(Json::arrayValue);
    out.append(place.source);
    out.append(place.line);
    return out;
}

class PageData {
  public:
    PageData(const Snapshot& snapshot, const Findings& findings)
          : mSnapshot(snapshot),
            mFindings(findings),
            mShown(selectThreads(findings, kMostThreads)),
            mEvidence(snapshot, findings) {}

    Json::Value write() {
        Json::Value page;
        page["file"] = textOf(mSnapshot.file);
        page["answer"] = textOf(sentenceOf(mSnapshot, mFindings));
        page["leftOut"] = Json::UInt64(mShown.leftOut);
        page["ends"] = list(mFindings.ends, [this](const End& end) { return endOf(end); });
        page["threads"] = list(mShown.threads, [this](int each) { return threadOf(each); });
        page["pools"] = list(mFindings.pools, [this](const Pool& pool) { return poolOf(pool); });
        page["exhausted"] = list(mFindings.exhaustedPools,
                                 [this](const ExhaustedPool& pool) { return queueOf(pool); });
        page["backlogs"] = list(mFindings.onewayBacklogs, [this](const OnewayBacklog& backlog) {
            Json::Value out = queueOf(backlog);
            if (!out.isNull()) {
                out["node"] = Json::Int64(backlog.node);
            }
            return out;
        });
        page["notes"] = notes();
        page["skipped"] = skipped();
        page["sources"] =
                list(mSnapshot.sources, [](const std::string& source) { return textOf(source); });
        page["excerpts"] = excerpts();  // last: of all places that were named above
        return page;
    }

  private:
    // Leaves out those of which nothing comes.
    template <typename List, typename Convert>
    static Json::Value list(const List& from, Convert convert) {
        Json::Value out(Json::arrayValue);
        for (const auto& each : from) {
            Json::Value value = convert(each);
            if (!value.isNull()) {
                out.append(std::move(value));
            }
        }
        return out;
    }

    Json::Value placesOf(const std::vector<Place>& places) {
        return list(places, [this](Place place) {
            mExcerpts.want(place, kContext);
            return placeOf(place);
        });
    }

    Json::Value indexOf(int thread) const {
        return thread == kNone ? kNone : mShown.indices[thread];
    }

    // Deadlocks and blockers in one form. Those below the threshold and those of which no thread is
    // shown are left out; they are the last ones.
    Json::Value endOf(const End& end) {
        Json::Value out;
        if (end.deadlock != kNone) {
            const Deadlock& deadlock = mFindings.deadlocks[end.deadlock];
            out = countsOf(deadlock, deadlock.members);
            out["title"] = "Deadlock " + std::to_string(end.deadlock + 1);
            out["kind"] = std::string(nameOf(deadlock.kind));
        } else if (!mFindings.rootBlockers[end.rootBlocker].isShort) {
            const RootBlocker& blocker = mFindings.rootBlockers[end.rootBlocker];
            out = countsOf(blocker, {blocker.thread});
            out["title"] = "Blocker " + std::to_string(end.rootBlocker + 1);
            out["kind"] = "blocker";
            out["longestMs"] = timeOf(blocker.longestWaitMs);
            out["longest"] = durationText(blocker.longestWaitMs);
        }
        return out.isNull() || out["members"].empty() ? Json::Value() : out;
    }

    template <typename AnyEnd>
    Json::Value countsOf(const AnyEnd& end, const std::vector<int>& members) {
        Json::Value out;
        out["members"] = list(members, [this](int each) {
            return mShown.shows(each) ? indexOf(each) : Json::Value();
        });
        out["threads"] = Json::UInt64(end.blockedThreads);
        out["processes"] = Json::UInt64(end.blockedProcesses);
        out["probable"] = end.isProbable;
        out["places"] = placesOf(mEvidence.of(end));
        return out;
    }

    Json::Value threadOf(int index) {
        const ThreadNode& thread = mFindings.threads[index];
        Json::Value out;
        out["pid"] = thread.id.pid;
        out["tid"] = thread.id.tid;
        out["process"] = textOf(processText(thread.id.pid, thread.process));
        out["name"] = textOf(thread.name);
        out["title"] = textOf(threadText(thread));
        out["doing"] = textOf(doingText(mFindings, thread));
        out["movement"] = std::string(nameOf(thread.movement));
        out["end"] = thread.end;
        out["next"] = indexOf(thread.nextThread);
        out["nextWait"] = thread.nextWait == kNone
                                  ? kNone
                                  : thread.nextWait - static_cast<int>(thread.waits.begin);
        out["waits"] = Json::Value(Json::arrayValue);
        for (uint32_t i = thread.waits.begin; i < thread.waits.end; ++i) {
            out["waits"].append(waitOf(mFindings.waits[i]));
        }
        out["places"] = placesOf(mEvidence.of(thread));
        addStacks(thread, &out);
        return out;
    }

    Json::Value waitOf(const Wait& wait) {
        Json::Value out;
        int64_t time = wait.call == kNone ? kNoTime : mFindings.calls[wait.call].timeMs;
        out["type"] = std::string(nameOf(wait.type));
        out["text"] = textOf(waitText(mFindings, wait));
        out["time"] = durationText(time);
        out["ms"] = timeOf(time);
        out["target"] = indexOf(wait.target);
        out["pool"] = wait.pool;
        out["doubtful"] = wait.isDoubtful;
        out["places"] = placesOf(mEvidence.of(wait));
        return out;
    }

    // The kernel's stacks of calls, line by line, and the dump's section as a range of lines.
    void addStacks(const ThreadNode& thread, Json::Value* out) {
        Json::Value& calls = (*out)["calls"] = Json::Value(Json::arrayValue);
        for (uint32_t i = thread.stacks.begin; i < thread.stacks.end; ++i) {
            const BinderThread& stack = mSnapshot.log->threads[mFindings.stacks[i]];
            calls.append(keep(stack.place));
            for (uint32_t frame = stack.frames.begin; frame < stack.frames.end; ++frame) {
                calls.append(keep(mSnapshot.log->frames[frame].place));
            }
        }
        if (thread.dump == nullptr) {
            return;
        }
        const DumpThread& dump = *thread.dump;
        uint32_t last = std::min(dump.lastLine, dump.place.line + kMostDumpLines - 1);
        Json::Value& range = (*out)["dump"];
        range["source"] = dump.place.source;
        range["first"] = dump.place.line;
        range["last"] = last;
        range["isCut"] = last < dump.lastLine;
        for (Place place = dump.place; place.line <= last; ++place.line) {
            keep(place);
        }
        range["time"] = textOf(thread.dumpSection->time);
        range["isOfLogsMoment"] = thread.dumpSection->isOfLogsMoment;
    }

    Json::Value keep(Place place) {
        mExcerpts.want(place, 0);
        return placeOf(place);
    }

    Json::Value poolOf(const Pool& pool) const {
        Json::Value out;
        out["pid"] = pool.pid;
        out["size"] = Json::UInt64(pool.threads.size());
        out["threads"] = Json::Value(Json::arrayValue);
        for (int each : pool.threads) {
            if (mShown.shows(each)) {
                out["threads"].append(indexOf(each));
            }
        }
        return out;
    }

    template <typename Queue>
    Json::Value queueOf(const Queue& queue) {
        if (queue.isShort) {
            return {};
        }
        Json::Value out;
        out["process"] = textOf(processText(queue.pid, queue.process));
        out["queued"] = Json::UInt64(queue.queued);
        out["oldestMs"] = timeOf(queue.oldestMs);
        out["oldest"] = durationText(queue.oldestMs);
        out["places"] = placesOf(mEvidence.ofCalls(queue.calls));
        return out;
    }

    Json::Value notes() const {
        return list(caveatsOf(mSnapshot), [](const std::string& each) { return textOf(each); });
    }

    Json::Value skipped() const {
        Json::Value out;
        out["lines"] = Json::UInt64(mSnapshot.lines.skipped);
        out["examples"] = list(mSnapshot.lines.examples, [](const SkippedLine& line) {
            Json::Value example;
            example["place"] = placeOf(line.place);
            example["text"] = textOf(line.text);
            return example;
        });
        return out;
    }

    Json::Value excerpts() const {
        return list(mExcerpts.read(mSnapshot), [](const Excerpt& excerpt) {
            Json::Value out;
            out["source"] = excerpt.source;
            out["first"] = excerpt.firstLine;
            out["lines"] = list(excerpt.lines, [](std::string_view line) { return textOf(line); });
            return out;
        });
    }

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    const Selection mShown;
    const Evidence mEvidence;
    Excerpts mExcerpts;
};

}  // namespace

std::string writePageData(const Snapshot& snapshot, const Findings& findings) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    std::string text;
    for (char each : Json::writeString(builder, PageData(snapshot, findings).write())) {
        if (each == '<') {
            text += "\\u003c";  // outside of strings JSON has none
        } else {
            text += each;
        }
    }
    return text;
}

}  // namespace stallscope
