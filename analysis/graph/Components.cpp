#include "analysis/graph/Components.h"

#include <algorithm>

namespace stallscope {

namespace {

class Tarjan {
  public:
    explicit Tarjan(const Adjacency& graph) : mGraph(graph), mLow(graph.size(), kNone) {
        mFound.of.assign(graph.size(), kNone);
    }

    Components run() {
        for (int vertex = 0; vertex < mGraph.size(); ++vertex) {
            if (mLow[vertex] == kNone) {
                explore(vertex);
            }
        }
        return std::move(mFound);
    }

  private:
    struct Visit {
        int vertex = kNone;
        int number = 0;   // in the order of discovery
        size_t step = 0;  // the next one to take
    };

    void enter(int vertex) {
        mPath.push_back({vertex, mNumber, 0});
        mLow[vertex] = mNumber++;
        mOpen.push_back(vertex);
    }

    void explore(int root) {
        enter(root);
        while (!mPath.empty()) {
            Visit& visit = mPath.back();
            Adjacency::Steps steps = mGraph.from(visit.vertex);
            if (visit.step < steps.size()) {
                int next = steps[visit.step++].vertex;
                if (mLow[next] == kNone) {
                    enter(next);
                } else if (mFound.of[next] == kNone) {
                    mLow[visit.vertex] = std::min(mLow[visit.vertex], mLow[next]);
                }
            } else {
                leave();
            }
        }
    }

    void leave() {
        Visit done = mPath.back();
        mPath.pop_back();
        if (!mPath.empty()) {
            int parent = mPath.back().vertex;
            mLow[parent] = std::min(mLow[parent], mLow[done.vertex]);
        }
        if (mLow[done.vertex] != done.number) {
            return;
        }
        int member = kNone;
        do {
            member = mOpen.back();
            mOpen.pop_back();
            mFound.of[member] = mFound.count;
        } while (member != done.vertex);
        ++mFound.count;
    }

    const Adjacency& mGraph;
    std::vector<int> mLow;  // the earliest vertex known to be reached; kNone: not visited yet
    std::vector<Visit> mPath;
    std::vector<int> mOpen;  // visited, in no component yet
    int mNumber = 0;
    Components mFound;
};

}  // namespace

Components findComponents(const Adjacency& graph) {
    return Tarjan(graph).run();
}

}  // namespace stallscope
