// Corrections of the thinned centerline: short ends carried out to the vessel's end, surface bumps
// removed while real branches stay, and a cycle around a tunnel in one vessel broken while a vessel loop stays.
#include "support/TubeImages.h"

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/CenterlineCleanup.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <vector>

namespace Tarnwick {
namespace {

/// A centerline graph built from polylines with nodes at most 1 mm apart and an edge "diameter".
class Centerlines {
public:
    Centerlines() { m_graph.getOrCreateEdgeFeatureIdx("diameter", 0.0); }

    unsigned long start(const Eigen::Vector3d& p) { return add(p); }
    /// From node `from` through `points`, then into node `to` when given; returns the last node.
    unsigned long path(unsigned long from, const std::vector<Eigen::Vector3d>& points, double diameter,
                       std::optional<unsigned long> to = std::nullopt) {
        Graph::EdgeInfo edge;
        edge.features = {diameter};
        std::vector<Eigen::Vector3d> targets = points;
        if (to)
            targets.push_back(m_positions.at(*to));
        unsigned long tip = from;
        for (std::size_t t = 0; t < targets.size(); ++t) {
            const Eigen::Vector3d at = m_positions.at(tip);
            const int pieces = std::max(1, static_cast<int>(std::ceil((targets[t] - at).norm())));
            for (int i = 1; i <= pieces; ++i) {
                const bool last = to && t + 1 == targets.size() && i == pieces;
                const unsigned long next = last ? *to : add(at + (targets[t] - at) * (double(i) / pieces));
                m_graph.addEdge(tip, next, edge);
                tip = next;
            }
        }
        return tip;
    }
    Graph& graph() { return m_graph; }
    /// Independent cycles and ends.
    long cycles() const { return long(m_graph.numEdges()) - long(m_graph.numNodes()) + 1; }
    std::vector<Eigen::Vector3d> ends() const {
        std::vector<Eigen::Vector3d> found;
        m_graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node, const Graph::Neighborhood& adjacency) {
            if (adjacency.size() == 1)
                found.push_back(node.position);
        });
        return found;
    }

private:
    unsigned long add(const Eigen::Vector3d& p) {
        Graph::NodeInfo node;
        node.position = p;
        const unsigned long id = m_graph.addNode(node);
        m_positions.emplace(id, p);
        return id;
    }
    Graph m_graph{Graph::Undirected, Graph::Dim3D};
    std::map<unsigned long, Eigen::Vector3d> m_positions;
};

TEST(CenterlineCleanup, BumpsAndTunnelCyclesGoWhileBranchesAndVesselLoopsStay) {
    Centerlines lines;
    // A vessel of diameter 10 along x with a tunnel loop (x = 10 to 16, 2.5 mm off the axis) in its wall, a
    // bump at x = 24 reaching 1 mm beyond the wall (diameter 3), a branch at x = 32 reaching 10 mm beyond
    // it and, at its far end (x = 40), a thin vessel loop of about 60 mm.
    const unsigned long tunnelStart = lines.path(lines.start({0, 0, 0}), {{10, 0, 0}}, 10);
    const unsigned long tunnelEnd = lines.path(tunnelStart, {{16, 0, 0}}, 10);
    lines.path(tunnelStart, {{13, 2.5, 0}}, 10, tunnelEnd);
    const unsigned long bump = lines.path(tunnelEnd, {{24, 0, 0}}, 10);
    lines.path(bump, {{24, 6, 0}}, 3);
    const unsigned long branch = lines.path(bump, {{32, 0, 0}}, 10);
    lines.path(branch, {{32, 15, 0}}, 3);
    // A small loop on a 3 mm stem at x = 36, inside the vessel: breaking it leaves the stem as a spur.
    const unsigned long stemFoot = lines.path(branch, {{36, 0, 0}}, 10);
    const unsigned long stem = lines.path(stemFoot, {{36, 3, 0}}, 10);
    lines.path(stem, {{38, 5, 0}, {36, 7, 0}, {34, 5, 0}}, 10, stem);
    const unsigned long loop = lines.path(stemFoot, {{40, 0, 0}}, 10);
    lines.path(loop, {{50, 10, 0}, {60, 0, 0}, {50, -10, 0}}, 2, loop);
    ASSERT_EQ(lines.cycles(), 3);
    ASSERT_EQ(lines.ends().size(), 3u);

    EXPECT_EQ(CenterlineCleanup::breakShortCycles(lines.graph()), 2u);
    EXPECT_EQ(CenterlineCleanup::pruneSurfaceBumps(lines.graph(), 1.0), 2u);
    EXPECT_EQ(lines.cycles(), 1);
    const std::vector<Eigen::Vector3d> ends = lines.ends();
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_TRUE(ends[0].isApprox(Eigen::Vector3d(0, 0, 0)) || ends[1].isApprox(Eigen::Vector3d(0, 0, 0)));
    EXPECT_TRUE(ends[0].isApprox(Eigen::Vector3d(32, 15, 0)) || ends[1].isApprox(Eigen::Vector3d(32, 15, 0)));
}

TEST(CenterlineCleanup, EndsReachOneRadiusShortOfTheVesselsRoundedEndUnlessTheMaskGoesOn) {
    // A tube of radius 1.5 mm from x = -10 to 10 on a 0.5 mm grid (its caps end at x = +-11.5), and one
    // from x = 0 to 20 mm past the image's edge.
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::UInt8, {60, 16, 16}, 1, {0.5, 0.5, 0.5}),
                                     Eigen::Matrix4d::Identity());
    const auto mask = Tarnwick::Test::tubeLabelImage({{{-10, 0, 0}, {10, 0, 0}, 1.5}}, frame);
    const auto open = Tarnwick::Test::tubeLabelImage({{{-10, 0, 0}, {20, 0, 0}, 1.5}}, frame);
    for (const bool goesOn : {false, true}) {
        SCOPED_TRACE(goesOn ? "open tube" : "closed tube");
        Centerlines lines;
        lines.graph().setMatrixToWorld(frame.matrixToWorld);
        lines.path(lines.start({-6, 0, 0}), {{6, 0, 0}}, 3.0);
        EXPECT_EQ(CenterlineCleanup::extendTerminalBranches(lines.graph(), goesOn ? *open : *mask), goesOn ? 1u : 2u);
        double low = 0.0, high = 0.0;
        for (const Eigen::Vector3d& end : lines.ends()) {
            EXPECT_NEAR(end.y(), 0.0, 0.3);
            low = std::min(low, end.x());
            high = std::max(high, end.x());
        }
        EXPECT_NEAR(low, -10.0, 0.6);
        EXPECT_NEAR(high, goesOn ? 6.0 : 10.0, 0.6);
    }
}

} // namespace
} // namespace Tarnwick
