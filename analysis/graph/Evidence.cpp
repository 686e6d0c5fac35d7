#include "analysis/graph/Evidence.h"

#include <algorithm>

namespace stallscope {

// Collects lines until there are enough.
class Evidence::Collector {
  public:
    explicit Collector(const Evidence& evidence)
          : mSnapshot(evidence.mSnapshot), mFindings(evidence.mFindings) {
        mPlaces.reserve(kFew);
    }

    bool isFull() const { return mPlaces.size() >= kMost; }

    void add(Place place) {
        if (place.line != 0 && !isFull()) {
            mPlaces.push_back(place);
        }
    }
    void addCall(int call) {
        IndexRange range = mFindings.calls[call].places;
        for (uint32_t i = range.begin; i < range.end; ++i) {
            add(mFindings.callPlaces[i]);
        }
    }
    void addWait(const Wait& wait) {
        if (wait.call != kNone) {
            addCall(wait.call);
            return;
        }
        add(wait.lock->place);
        add(wait.holder->place);
        for (const LockLine& each : wait.holder->locked) {
            if (each.object == wait.lock->object) {
                add(each.place);
            }
        }
    }
    void addThread(const ThreadNode& node) {
        for (uint32_t i = node.stacks.begin; i < node.stacks.end; ++i) {
            const BinderThread& thread = mSnapshot.log->threads[mFindings.stacks[i]];
            add(thread.place);
            if (!thread.frames.empty()) {
                add(mSnapshot.log->frames[thread.frames.begin].place);
            }
        }
        if (node.dump != nullptr && node.dumpSection->isOfLogsMoment) {
            add(node.dump->place);
        }
    }

    std::vector<Place> take() {
        std::sort(mPlaces.begin(), mPlaces.end());
        mPlaces.erase(std::unique(mPlaces.begin(), mPlaces.end()), mPlaces.end());
        return std::move(mPlaces);
    }

  private:
    static constexpr size_t kFew = 8;  // what most have

    const Snapshot& mSnapshot;
    const Findings& mFindings;
    std::vector<Place> mPlaces;
};

std::vector<Place> Evidence::of(const RootBlocker& blocker) const {
    Collector lines(*this);
    lines.addThread(mFindings.threads[blocker.thread]);
    if (blocker.longestCall != kNone) {
        lines.addCall(blocker.longestCall);
    }
    for (const Adjacency::Step& step : mBackward.from(blocker.thread)) {
        if (step.wait != kNone) {
            lines.addWait(mFindings.waits[step.wait]);
            continue;
        }
        for (const Adjacency::Step& queued : mBackward.from(step.vertex)) {
            if (lines.isFull()) {
                break;
            }
            lines.addWait(mFindings.waits[queued.wait]);
        }
    }
    return lines.take();
}

std::vector<Place> Evidence::of(const Deadlock& deadlock) const {
    Collector lines(*this);
    for (int wait : deadlock.waits) {
        lines.addWait(mFindings.waits[wait]);
    }
    for (int member : deadlock.members) {
        lines.addThread(mFindings.threads[member]);
    }
    return lines.take();
}

std::vector<Place> Evidence::of(const Chain& chain) const {
    Collector lines(*this);
    int last = kNone;
    for (int thread : mFindings.threadsOf(chain)) {
        const ThreadNode& node = mFindings.threads[thread];
        if (node.nextWait != kNone) {
            lines.addWait(mFindings.waits[node.nextWait]);
        }
        last = thread;
    }
    lines.addThread(mFindings.threads[last]);
    return lines.take();
}

std::vector<Place> Evidence::of(const Wait& wait) const {
    Collector lines(*this);
    lines.addWait(wait);
    return lines.take();
}

std::vector<Place> Evidence::of(const ThreadNode& thread) const {
    Collector lines(*this);
    lines.addThread(thread);
    return lines.take();
}

std::vector<Place> Evidence::ofCalls(const std::vector<int>& calls) const {
    Collector lines(*this);
    for (int call : calls) {
        lines.addCall(call);
    }
    return lines.take();
}

}  // namespace stallscope
