#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>

#include <vector>

namespace Tarnwick {

class Graph;

/// Turns each selected graph into a PointCloud of its node positions (ascending id), named after the
/// graph's data name followed by " Point Cloud". Positions are taken as stored, in the graph's own
/// coordinates; features, edges, attributes and the world matrix are not carried over.
///
/// The graphs are converted in parallel (one graph per loop iteration); the output order always equals
/// the input order. An algorithm built on an empty list reports InvalidInput.
class GraphToPointCloudAlgorithm : public Algorithm {
public:
    explicit GraphToPointCloudAlgorithm(const std::vector<Graph*>& graphs);

    /// Compatible when the selection holds at least one Graph (other data are ignored).
    static bool createCompatible(const DataList& data, Algorithm** out);

    /// Replaces any point clouds of an earlier run.
    void compute() override;

private:
    std::vector<Graph*> m_graphs;
};

} // namespace Tarnwick
