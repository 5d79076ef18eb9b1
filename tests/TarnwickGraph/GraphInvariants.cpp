#include "GraphInvariants.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>

namespace Tarnwick::Test {

bool sameFeatureValues(const std::vector<double>& a, const std::vector<double>& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!(a[i] == b[i] || (std::isnan(a[i]) && std::isnan(b[i]))))
            return false;
    return true;
}

namespace {

bool sameEdgeRecord(const Graph::EdgeInfo& a, const Graph::EdgeInfo& b) {
    return a.attributes == b.attributes && sameFeatureValues(a.features, b.features);
}

void checkEntry(const Graph& graph, unsigned long u, unsigned long v, const std::optional<Graph::EdgeInfo>& entry,
                std::vector<std::string>& violations) {
    const std::size_t edgeFeatures = graph.edgeFeatureDescriptors().size();
    if (!graph.hasNode(v)) {
        violations.push_back(fmt::format("node {} has a dangling adjacency key {}", u, v));
        return;
    }
    if (entry && entry->features.size() != edgeFeatures)
        violations.push_back(fmt::format("edge {} -> {} has {} features, descriptors say {}", u, v,
                                         entry->features.size(), edgeFeatures));
    const Graph::Neighborhood& reverse = graph.neighborhood(v);
    auto back = reverse.find(u);
    if (back == reverse.end()) {
        violations.push_back(fmt::format("node {} lists {} but {} does not list {}", u, v, v, u));
        return;
    }
    if (graph.type() == Graph::Undirected) {
        if (!entry || !back->second)
            violations.push_back(fmt::format("undirected entry {} - {} is not engaged on both sides", u, v));
        else if (!sameEdgeRecord(*entry, *back->second))
            violations.push_back(fmt::format("undirected edge {} - {} has differing copies", u, v));
    } else if (!entry && !back->second) {
        violations.push_back(fmt::format("back-reference {} <- {} has no edge {} -> {}", u, v, v, u));
    }
}

} // namespace

std::vector<std::string> graphInvariantViolations(const Graph& graph) {
    std::vector<std::string> violations;
    const std::size_t nodeFeatures = graph.nodeFeatureDescriptors().size();
    const bool undirected = graph.type() == Graph::Undirected;
    unsigned long storedEdges = 0, degreeSum = 0, inSum = 0, outSum = 0;
    graph.forEachNode([&](unsigned long u, const Graph::NodeInfo& info, const Graph::Neighborhood& adjacency) {
        if (info.features.size() != nodeFeatures)
            violations.push_back(
                fmt::format("node {} has {} features, descriptors say {}", u, info.features.size(), nodeFeatures));
        if (u > graph.maxNodeId())
            violations.push_back(fmt::format("node id {} exceeds maxNodeId {}", u, graph.maxNodeId()));
        for (const auto& [v, entry] : adjacency) {
            checkEntry(graph, u, v, entry, violations);
            if (entry && (!undirected || v >= u))
                ++storedEdges;
        }
        degreeSum += graph.degree(u, Graph::Total);
        inSum += graph.degree(u, Graph::In);
        outSum += graph.degree(u, Graph::Out);
    });
    unsigned long reportedEdges = 0;
    graph.forEachEdge([&](const Graph::EdgeInfo&, unsigned long, unsigned long) { ++reportedEdges; });

    const unsigned long numEdges = graph.numEdges();
    if (storedEdges != numEdges)
        violations.push_back(fmt::format("numEdges() is {} but {} edges are stored", numEdges, storedEdges));
    if (reportedEdges != numEdges)
        violations.push_back(fmt::format("numEdges() is {} but forEachEdge reports {}", numEdges, reportedEdges));
    if (degreeSum != 2 * numEdges)
        violations.push_back(fmt::format("total degree sum {} is not twice numEdges() {}", degreeSum, numEdges));
    if (!undirected && (inSum != numEdges || outSum != numEdges))
        violations.push_back(
            fmt::format("in-degree sum {} and out-degree sum {} differ from numEdges() {}", inSum, outSum, numEdges));
    return violations;
}

::testing::AssertionResult graphIsConsistent(const Graph& graph) {
    const std::vector<std::string> violations = graphInvariantViolations(graph);
    if (violations.empty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << fmt::format("{} invariant violation(s):\n  {}", violations.size(),
                                                        fmt::join(violations, "\n  "));
}

} // namespace Tarnwick::Test
