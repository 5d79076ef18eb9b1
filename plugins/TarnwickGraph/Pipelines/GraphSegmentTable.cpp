// Segment table of a centerline graph. Segments are the chains of GraphUtils::traversePath walked from
// every node whose adjacency count is not 2, then around the closed loops left. They form a multigraph on
// their end nodes; a breadth-first search of it from each component's root gives the generations and a
// spanning tree, on which Strahler orders are computed bottom-up (a node whose child segments have the
// largest order k at least twice gives its parent segment k + 1, otherwise k; leaves give 1). Cost:
// O((N + E) log N) for the walks and maps, O(S log S) for the S segments.
#include <TarnwickGraph/Pipelines/GraphSegmentTable.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace Tarnwick {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double missing = std::numeric_limits<double>::quiet_NaN();

using EdgeKey = std::pair<unsigned long, unsigned long>;
EdgeKey edgeKey(unsigned long a, unsigned long b) {
    return {std::min(a, b), std::max(a, b)};
}

/// Measures of one walked chain.
struct Chain {
    std::vector<unsigned long> nodes;
    std::vector<double> lengths;
    std::vector<double> diameters;
};

GraphSegment measure(const Chain& chain, const std::map<unsigned long, Eigen::Vector3d>& positions) {
    GraphSegment segment;
    segment.startNode = chain.nodes.front();
    segment.endNode = chain.nodes.back();
    segment.numEdges = chain.lengths.size();
    segment.lengthMm = GraphUtils::sumReduction(chain.lengths);
    segment.chordMm = (positions.at(segment.endNode) - positions.at(segment.startNode)).norm();
    if (segment.chordMm > 0.0)
        segment.tortuosity = segment.lengthMm / segment.chordMm;
    if (chain.diameters.empty()) {
        segment.meanDiameterMm = segment.medianDiameterMm = segment.minDiameterMm = segment.maxDiameterMm =
            segment.volumeMm3 = missing;
        return segment;
    }
    double weighted = 0.0;
    double volume = 0.0;
    for (std::size_t i = 0; i < chain.diameters.size(); ++i) {
        weighted += chain.diameters[i] * chain.lengths[i];
        volume += pi * 0.25 * chain.diameters[i] * chain.diameters[i] * chain.lengths[i];
    }
    segment.meanDiameterMm =
        segment.lengthMm > 0.0 ? weighted / segment.lengthMm : GraphUtils::avgReduction(chain.diameters);
    segment.medianDiameterMm = GraphUtils::computeMedian(chain.diameters);
    segment.minDiameterMm = *std::min_element(chain.diameters.begin(), chain.diameters.end());
    segment.maxDiameterMm = *std::max_element(chain.diameters.begin(), chain.diameters.end());
    segment.volumeMm3 = volume;
    return segment;
}

/// Walks every segment once, in the documented order.
std::vector<GraphSegment> walkSegments(const Graph& graph, const std::map<unsigned long, Eigen::Vector3d>& positions) {
    const std::optional<int> lengthIdx = graph.getEdgeFeatureIdx("length");
    const std::optional<int> diameterIdx = graph.getEdgeFeatureIdx("diameter");
    std::set<EdgeKey> walked;
    std::vector<GraphSegment> segments;
    auto walk = [&](unsigned long start, unsigned long next) {
        if (walked.count(edgeKey(start, next)) != 0)
            return;
        Chain chain;
        chain.nodes = GraphUtils::traversePath(
            graph, start, next, [&](unsigned long a, unsigned long b, const Graph::EdgeInfo& edge) {
                walked.insert(edgeKey(a, b));
                chain.lengths.push_back(lengthIdx ? edge.features[static_cast<std::size_t>(*lengthIdx)]
                                                  : (positions.at(b) - positions.at(a)).norm());
                if (diameterIdx)
                    chain.diameters.push_back(edge.features[static_cast<std::size_t>(*diameterIdx)]);
            });
        if (chain.lengths.empty())
            return;
        segments.push_back(measure(chain, positions));
        segments.back().id = segments.size() - 1;
    };
    for (bool loops : {false, true}) {
        graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& adjacency) {
            if ((adjacency.size() == 2) != loops)
                return;
            for (const auto& entry : adjacency)
                walk(id, entry.first);
        });
    }
    return segments;
}

/// The segment multigraph on segment end nodes: node -> (segment index, other end), in segment order.
using SegmentAdjacency = std::map<unsigned long, std::vector<std::pair<std::size_t, unsigned long>>>;

SegmentAdjacency segmentAdjacency(const std::vector<GraphSegment>& segments) {
    SegmentAdjacency adjacency;
    for (std::size_t s = 0; s < segments.size(); ++s) {
        adjacency[segments[s].startNode].emplace_back(s, segments[s].endNode);
        if (segments[s].endNode != segments[s].startNode)
            adjacency[segments[s].endNode].emplace_back(s, segments[s].startNode);
    }
    return adjacency;
}

/// The ends of one connected component of the segment graph, in discovery order from `seed`.
std::vector<unsigned long> componentOf(const SegmentAdjacency& adjacency, unsigned long seed,
                                       std::set<unsigned long>& reached) {
    std::vector<unsigned long> nodes{seed};
    reached.insert(seed);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        for (const auto& [segment, other] : adjacency.at(nodes[i]))
            if (reached.insert(other).second)
                nodes.push_back(other);
    return nodes;
}

/// The automatic root of a component: the leaf end of its end segment with the largest mean diameter.
unsigned long automaticRoot(const std::vector<unsigned long>& component, const SegmentAdjacency& adjacency,
                            const std::vector<GraphSegment>& segments) {
    std::optional<std::size_t> best;
    unsigned long bestLeaf = *std::min_element(component.begin(), component.end());
    for (unsigned long node : component) {
        const auto& incident = adjacency.at(node);
        if (incident.size() != 1 || incident.front().second == node)
            continue;
        const std::size_t s = incident.front().first;
        const bool larger = !best || segments[s].meanDiameterMm > segments[*best].meanDiameterMm;
        const bool tied = best && !larger && !(segments[s].meanDiameterMm < segments[*best].meanDiameterMm);
        if (larger || (tied && s < *best)) {
            best = s;
            bestLeaf = node;
        }
    }
    return bestLeaf;
}

/// Generations, orientation and Strahler orders of one component, from its root.
void orderComponent(unsigned long root, const SegmentAdjacency& adjacency, std::vector<GraphSegment>& segments) {
    std::map<unsigned long, int> depth{{root, 0}};
    std::map<unsigned long, std::size_t> treeSegment; // node -> the segment it was reached through
    std::vector<unsigned long> order{root};
    for (std::size_t i = 0; i < order.size(); ++i) {
        const unsigned long node = order[i];
        for (const auto& [segment, other] : adjacency.at(node)) {
            if (depth.emplace(other, depth[node] + 1).second) {
                treeSegment[other] = segment;
                order.push_back(other);
            }
        }
    }
    std::map<unsigned long, std::vector<int>> childOrders;
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        const auto found = treeSegment.find(*it);
        if (found == treeSegment.end())
            continue;
        const std::vector<int>& children = childOrders[*it];
        int strahler = 1;
        if (!children.empty()) {
            strahler = *std::max_element(children.begin(), children.end());
            if (std::count(children.begin(), children.end(), strahler) >= 2)
                ++strahler;
        }
        GraphSegment& segment = segments[found->second];
        segment.strahler = strahler;
        const unsigned long parent = segment.startNode == *it ? segment.endNode : segment.startNode;
        childOrders[parent].push_back(strahler);
    }
    for (GraphSegment& segment : segments) {
        const auto start = depth.find(segment.startNode);
        if (start == depth.end())
            continue; // another component
        const int endDepth = depth.at(segment.endNode);
        segment.generation = std::min(start->second, endDepth);
        if (endDepth < start->second)
            std::swap(segment.startNode, segment.endNode);
    }
}

std::string field(double value) {
    return std::isnan(value) ? std::string() : fmt::format("{:.10g}", value);
}

} // namespace

std::optional<std::vector<GraphSegment>> computeGraphSegments(const Graph& graph, std::optional<unsigned long> root) {
    if (root && !graph.hasNode(*root)) {
        TW_LOG_ERROR("The root node {} is not in the graph", *root);
        return std::nullopt;
    }
    if (root && graph.neighborhood(*root).size() == 2) {
        TW_LOG_ERROR("The root node {} lies inside a segment; choose an end or a junction", *root);
        return std::nullopt;
    }
    std::map<unsigned long, Eigen::Vector3d> positions;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { positions.emplace(id, node.position); });
    std::vector<GraphSegment> segments = walkSegments(graph, positions);

    const SegmentAdjacency adjacency = segmentAdjacency(segments);
    std::set<unsigned long> reached;
    for (const auto& entry : adjacency) {
        if (reached.count(entry.first) != 0)
            continue;
        const std::vector<unsigned long> component = componentOf(adjacency, entry.first, reached);
        const bool chosen = root && std::find(component.begin(), component.end(), *root) != component.end();
        orderComponent(chosen ? *root : automaticRoot(component, adjacency, segments), adjacency, segments);
    }
    return segments;
}

bool writeGraphSegmentsCsv(const std::vector<GraphSegment>& segments, const std::string& path, std::string& error) {
    AtomicFileWriter writer(path);
    if (!writer.open(error))
        return false;
    std::ostream& out = writer.stream();
    out << "segment_id,start_node,end_node,num_edges,length_mm,chord_mm,tortuosity,mean_diameter_mm,"
           "median_diameter_mm,min_diameter_mm,max_diameter_mm,volume_mm3,generation,strahler\n";
    for (const GraphSegment& s : segments) {
        out << fmt::format("{},{},{},{},{},{},{},{},{},{},{},{},{},{}\n", s.id, s.startNode, s.endNode, s.numEdges,
                           field(s.lengthMm), field(s.chordMm), field(s.tortuosity.value_or(missing)),
                           field(s.meanDiameterMm), field(s.medianDiameterMm), field(s.minDiameterMm),
                           field(s.maxDiameterMm), field(s.volumeMm3), s.generation,
                           s.strahler ? std::to_string(*s.strahler) : std::string());
    }
    return writer.commit(error);
}

} // namespace Tarnwick
