// Terminal path pruning: a guided walk (Graph::traverse) from every leaf through nodes with at most two
// neighbours, with a per-operation stop rule (walk length against a global threshold, against the largest
// distance-to-boundary met along the walk, or edge diameter against a threshold). Nodes are collected in a
// removal set during the full pass and removed afterwards, so the result does not depend on node ids.
// O(N log N) for the leaf sweep plus O(W log N) for W walked nodes; each distance sample is one trilinear
// interpolation.
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>

#include <TarnwickCore/Log.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <memory>
#include <vector>

namespace Tarnwick {

namespace {

/// What a walk does at a node: stop there, go on without it, or take it as a candidate and go on.
enum class Step { Stop, Pass, Take };

/// Walks from every leaf and removes the nodes of the walks that `walk` accepts. Walk provides
/// start() (a new walk begins), advance(id, node, nextId, next) (a Step towards next) and accept()
/// (whether the candidates are removed).
template <typename Walk>
void removeTerminalPaths(Graph& graph, Walk& walk) {
    std::vector<unsigned long> removal;
    std::vector<unsigned long> candidates;
    graph.forEachNode([&](unsigned long leaf, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
        if (adjacency.size() != 1)
            return;
        walk.start();
        candidates.clear();
        graph.traverse(leaf,
                       [&](unsigned long id, const Graph::NodeInfo& node,
                           const std::vector<const Graph::NodeInfo*>& next,
                           const std::vector<unsigned long>& nextIds) -> const Graph::NodeInfo* {
                           if (graph.neighborhood(id).size() > 2 || next.empty())
                               return nullptr;
                           const Step step = walk.advance(id, node, nextIds.front(), *next.front());
                           if (step == Step::Stop)
                               return nullptr;
                           if (step == Step::Take)
                               candidates.push_back(id);
                           return next.front();
                       });
        if (walk.accept())
            removal.insert(removal.end(), candidates.begin(), candidates.end());
    });
    std::sort(removal.begin(), removal.end());
    removal.erase(std::unique(removal.begin(), removal.end()), removal.end());
    for (unsigned long id : removal)
        graph.removeNode(id);
}

/// Stops once the walked length exceeds the threshold; removes walks shorter than it.
class ThresholdWalk {
public:
    explicit ThresholdWalk(double threshold) : m_threshold(threshold) {}
    void start() { m_length = 0.0; }
    Step advance(unsigned long, const Graph::NodeInfo& node, unsigned long, const Graph::NodeInfo& next) {
        m_length += (next.position - node.position).norm();
        return m_length > m_threshold ? Step::Stop : Step::Take;
    }
    bool accept() const { return m_threshold > m_length; }

private:
    double m_threshold;
    double m_length = 0.0;
};

/// Stops once the walked length exceeds sensitivity times the largest distance value met so far; removes
/// walks shorter than that.
class DistanceWalk {
public:
    DistanceWalk(const Graph& graph, const SharedImage& image, const TypedImage<float>& distances, double sensitivity)
        : m_toWorld(graph.matrixToWorld()), m_worldToPixel(image.worldToPixelMatrix()), m_distances(distances),
          m_sensitivity(sensitivity) {}
    void start() {
        m_length = 0.0;
        m_maxDistance = 0.0;
    }
    Step advance(unsigned long, const Graph::NodeInfo& node, unsigned long, const Graph::NodeInfo& next) {
        const Eigen::Vector3d from = world(node.position);
        const Eigen::Vector3d difference = world(next.position) - from;
        m_length += difference.norm();
        // Half the world-space step is added to the pixel coordinate of the near node unscaled.
        const Eigen::Vector3d sample = (m_worldToPixel * from.homogeneous()).head<3>() + 0.5 * difference;
        m_maxDistance = std::max(m_maxDistance, m_distances.interpolatedValue(sample, 0));
        return m_length > m_maxDistance * m_sensitivity ? Step::Stop : Step::Take;
    }
    bool accept() const { return m_sensitivity * m_maxDistance > m_length; }

private:
    Eigen::Vector3d world(const Eigen::Vector3d& position) const {
        return (m_toWorld * position.homogeneous()).head<3>();
    }

    Eigen::Matrix4d m_toWorld;
    Eigen::Matrix4d m_worldToPixel;
    const TypedImage<float>& m_distances;
    double m_sensitivity;
    double m_length = 0.0;
    double m_maxDistance = 0.0;
};

/// Walks on to the branching node (or the other leaf) and takes every node whose edge ahead is thinner
/// than the threshold; every walk is accepted.
class ThinEdgeWalk {
public:
    ThinEdgeWalk(const Graph& graph, int diameterIdx, double threshold)
        : m_graph(graph), m_column(static_cast<std::size_t>(diameterIdx)), m_threshold(threshold) {}
    void start() {}
    Step advance(unsigned long id, const Graph::NodeInfo&, unsigned long nextId, const Graph::NodeInfo&) {
        const std::optional<Graph::EdgeInfo>& edge = m_graph.edge(id, nextId);
        return edge && edge->features[m_column] < m_threshold ? Step::Take : Step::Pass;
    }
    bool accept() const { return true; }

private:
    const Graph& m_graph;
    std::size_t m_column;
    double m_threshold;
};

} // namespace

PruneTerminalPathsAlgorithm::PruneTerminalPathsAlgorithm(Graph& graph, SharedImageSet* distanceImage)
    : m_graph(graph), m_distanceImage(distanceImage) {
    mode.setAttribute("values", distanceImage ? "GlobalThreshold, DistanceBased" : "GlobalThreshold");
    if (distanceImage) {
        mode.setDefaultValue(DistanceBased);
        mode.setValue(DistanceBased);
    }
    sensitivity.setAttribute("hidden", mode == DistanceBased ? "false" : "true");
    mode.signalValueChanged.connect(
        [this] { sensitivity.setAttribute("hidden", mode == DistanceBased ? "false" : "true"); });
}

bool PruneTerminalPathsAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const std::vector<Graph*> graphs = data.getAll<Graph>();
    if (graphs.size() != 1 || data.size() > 2)
        return false;
    if (out) {
        const std::vector<SharedImageSet*> images = data.getAll<SharedImageSet>();
        *out = new PruneTerminalPathsAlgorithm(*graphs.front(), images.empty() ? nullptr : images.front());
    }
    return true;
}

void PruneTerminalPathsAlgorithm::compute() {
    m_output.clear();
    std::unique_ptr<Graph> copy = inPlace ? nullptr : m_graph.clone();
    if (!prune(copy ? *copy : m_graph)) {
        setStatus(Error);
        return;
    }
    if (copy)
        m_output.add(std::move(copy));
    setStatus(Success);
}

bool PruneTerminalPathsAlgorithm::prune(Graph& graph) const {
    if (mode == DistanceBased)
        return removePathsDistanceBased(graph, m_distanceImage, sensitivity);
    removeShortTerminalPaths(graph, pruningThreshold);
    return true;
}

void PruneTerminalPathsAlgorithm::removeShortTerminalPaths(Graph& graph, double threshold) {
    ThresholdWalk walk(threshold);
    removeTerminalPaths(graph, walk);
}

bool PruneTerminalPathsAlgorithm::removePathsDistanceBased(Graph& graph, SharedImageSet* distanceImage,
                                                           double sensitivity) {
    const SharedImage* image = distanceImage ? distanceImage->get(-1) : nullptr;
    if (!image) {
        TW_LOG_ERROR("Distance image not set.");
        return false;
    }
    const TypedImage<float>* distances = image->typed<float>();
    if (!distances) {
        TW_LOG_ERROR("No valid distance image: require PixelType::Float.");
        return false;
    }
    DistanceWalk walk(graph, *image, *distances, sensitivity);
    removeTerminalPaths(graph, walk);
    return true;
}

bool PruneTerminalPathsAlgorithm::removeThinTerminalEdges(Graph& graph, double threshold) {
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    if (!diameterIdx) {
        TW_LOG_ERROR("Cannot remove thin terminal edges: the graph has no edge feature \"diameter\".");
        return false;
    }
    ThinEdgeWalk walk(graph, *diameterIdx, threshold);
    removeTerminalPaths(graph, walk);
    return true;
}

} // namespace Tarnwick
