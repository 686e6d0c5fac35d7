#ifndef STALLSCOPE_ANALYSIS_GRAPH_COMPONENTS_H
#define STALLSCOPE_ANALYSIS_GRAPH_COMPONENTS_H

#include <vector>

#include "analysis/graph/Adjacency.h"

namespace stallscope {

// The strongly connected components of a graph (Tarjan's algorithm, without recursion).
struct Components {
    std::vector<int> of;  // the component of each vertex
    int count = 0;
};

Components findComponents(const Adjacency& graph);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_GRAPH_COMPONENTS_H
