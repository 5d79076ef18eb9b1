#include "../GraphInvariants.h"
#include "PolylineGraph.h"
#include "support/LogCapture.h"
#include "support/TubeImages.h"

#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <tuple>

namespace Tarnwick {
namespace {

using Test::addPolyline;
using Test::graphIsConsistent;
using Test::LogCapture;
using Test::straightPoints;
using Test::tubeDistanceImage;
using Test::TubeSegment;
using Points = std::vector<Eigen::Vector3d>;

std::unique_ptr<SharedImageSet> imageSet(std::shared_ptr<SharedImage> image) {
    return std::make_unique<SharedImageSet>(std::move(image));
}

std::unique_ptr<SharedImageSet> constantImage(PixelType type, double value) {
    auto mem = MemImage::create(ImageDescriptor(type, Eigen::Vector3i(24, 24, 24)));
    dispatchPixelType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        auto* typed = static_cast<TypedImage<T>*>(mem.get());
        std::fill(typed->pointer(), typed->pointer() + mem->descriptor().numValues(), static_cast<T>(value));
    });
    return imageSet(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(mem))));
}

/// A line of nodes 1 .. n along x (at x = 0 .. n-1) with a spur of the given points attached to node `at`.
std::unique_ptr<Graph> lineWithSpur(int n, unsigned long at, const Points& spur) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    Points line;
    for (int i = 0; i < n; ++i)
        line.emplace_back(i, 0, 0);
    addPolyline(*graph, line);
    addPolyline(*graph, spur, at);
    return graph;
}

std::vector<unsigned long> ids(const Graph& graph) {
    std::vector<unsigned long> result;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&) { result.push_back(id); });
    return result;
}

TEST(PruneTerminalPathsTest, ShortPathsAreRemovedOnlyBelowTheThreshold) {
    // A leaf joined to a branching node by one edge of length 0.8.
    for (const auto& [threshold, removed] : {std::pair{1.0, true}, std::pair{0.5, false}}) {
        auto graph = lineWithSpur(5, 3, {{2, 0.8, 0}});
        PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*graph, threshold);
        EXPECT_EQ(graph->numNodes(), removed ? 5u : 6u) << threshold;
        EXPECT_TRUE(graphIsConsistent(*graph));
    }
    // A spur of exactly the threshold length (two edges of 1) stays.
    auto exact = lineWithSpur(9, 5, {{4, 1, 0}, {4, 2, 0}});
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*exact, 2.0);
    EXPECT_EQ(exact->numNodes(), 11u);
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*exact, 2.01);
    EXPECT_EQ(ids(*exact), (std::vector<unsigned long>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(PruneTerminalPathsTest, ChainsWithoutBranchesAndCyclesFollowTheWalkRules) {
    Graph chain(Graph::Undirected, Graph::Dim3D);
    addPolyline(chain, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(chain, 2.5);
    EXPECT_EQ(chain.numNodes(), 0u) << "an isolated chain shorter than the threshold disappears";

    Graph cycle(Graph::Undirected, Graph::Dim3D);
    addPolyline(cycle, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
    cycle.addEdge(3, 1, {});
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(cycle, 100.0);
    EXPECT_EQ(cycle.numNodes(), 3u);
    EXPECT_EQ(cycle.numEdges(), 3u);
}

TEST(PruneTerminalPathsTest, SpursMeetingAtOneNodeAreJudgedOnTheUnprunedGraph) {
    // Node 1 has two short spurs and a long chain. Removing the first spur before walking the second
    // would turn node 1 into a path node and let the second walk run on along the chain.
    auto graph = lineWithSpur(12, 1, {{0, 1, 0}});
    addPolyline(*graph, {{0, -1, 0}}, 1);
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*graph, 1.5);
    EXPECT_EQ(ids(*graph), (std::vector<unsigned long>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(graph->degree(1, Graph::Total), 1u) << "node 1 is now a leaf but is not revisited";
}

// The walk from a leaf goes on past thick edges to the branching node; the near node of every thin
// edge on the way is removed.
TEST(PruneTerminalPathsTest, ThinTerminalEdgesAreRemovedAllTheWayToTheBranchingNode) {
    struct Case {
        double leafEdge, middleEdge, branchEdge; // diameters of the spur 13 - 12 - 11 - 5, from its leaf
        std::vector<unsigned long> kept;
    };
    const Case cases[] = {
        {1.0, 1.0, 4.0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 11}},
        {4.0, 1.0, 1.0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 13}},
        {1.0, 4.0, 1.0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 12}},
    };
    for (const Case& c : cases) {
        auto graph = lineWithSpur(10, 5, {{4, 1, 0}, {4, 2, 0}, {4, 3, 0}});
        const int diameter = *graph->getEdgeFeatureIdx("diameter");
        graph->editEachEdge(
            [&](Graph::EdgeInfo& edge, unsigned long, unsigned long) { edge.features[diameter] = 4.0; });
        graph->editEdge(12, 13, [&](Graph::EdgeInfo& edge) { edge.features[diameter] = c.leafEdge; });
        graph->editEdge(11, 12, [&](Graph::EdgeInfo& edge) { edge.features[diameter] = c.middleEdge; });
        graph->editEdge(5, 11, [&](Graph::EdgeInfo& edge) { edge.features[diameter] = c.branchEdge; });
        // The far end of the line: a thin edge 9 - 10 at leaf 10.
        graph->editEdge(9, 10, [&](Graph::EdgeInfo& edge) { edge.features[diameter] = 1.0; });
        EXPECT_TRUE(PruneTerminalPathsAlgorithm::removeThinTerminalEdges(*graph, 2.0));
        EXPECT_EQ(ids(*graph), c.kept) << c.leafEdge << " " << c.middleEdge << " " << c.branchEdge;
        EXPECT_TRUE(graphIsConsistent(*graph));
    }

    LogCapture log;
    Graph withoutDiameter(Graph::Undirected, Graph::Dim3D);
    withoutDiameter.clearFeatureDescriptors();
    addPolyline(withoutDiameter, {{0, 0, 0}, {1, 0, 0}});
    EXPECT_FALSE(PruneTerminalPathsAlgorithm::removeThinTerminalEdges(withoutDiameter, 2.0));
    EXPECT_EQ(withoutDiameter.numNodes(), 2u);
    EXPECT_EQ(log.errors().size(), 1u);
}

TEST(PruneTerminalPathsTest, DistanceModeNeedsAFloatImage) {
    auto graph = lineWithSpur(12, 6, {{5, 0.5, 0}});
    auto ushortImage = constantImage(PixelType::UInt16, 3.0);
    auto emptySet = std::make_unique<SharedImageSet>();
    struct Case {
        SharedImageSet* image;
        std::string error;
    };
    for (const Case& c : {Case{nullptr, "Distance image not set."}, Case{emptySet.get(), "Distance image not set."},
                          Case{ushortImage.get(), "No valid distance image: require PixelType::Float."}}) {
        LogCapture log;
        PruneTerminalPathsAlgorithm algorithm(*graph, c.image);
        algorithm.mode = PruneTerminalPathsAlgorithm::DistanceBased;
        algorithm.inPlace = true;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::Error);
        EXPECT_EQ(log.errors(), std::vector<std::string>{c.error});
        EXPECT_EQ(graph->numNodes(), 13u);
    }
    // With a valid image the run succeeds: distance 3 everywhere removes the spur of length 0.5 and keeps
    // the ends of the line, which are 5 long.
    auto floatImage = constantImage(PixelType::Float, 3.0);
    PruneTerminalPathsAlgorithm algorithm(*graph, floatImage.get());
    algorithm.inPlace = true;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    EXPECT_EQ(graph->numNodes(), 12u);
}

/// A vessel tree (trunk of radius 5, branches of radius 3 and 2, every terminal segment longer than twice
/// its radius) whose centerline graph carries short spurs as skeletonisation leaves them.
struct SpurTree {
    std::vector<TubeSegment> tubes;
    Points positions;                                       ///< node positions, index = node number
    std::vector<std::pair<std::size_t, std::size_t>> edges; ///< node numbers
    std::set<std::size_t> spurNodes;

    std::size_t add(const Eigen::Vector3d& p, std::optional<std::size_t> previous) {
        positions.push_back(p);
        if (previous)
            edges.emplace_back(*previous, positions.size() - 1);
        return positions.size() - 1;
    }
    /// A centerline from `from` (attached to node `at` when given) to `to` at unit steps; returns its nodes.
    std::vector<std::size_t> branch(const Eigen::Vector3d& from, const Eigen::Vector3d& to, double radius,
                                    std::optional<std::size_t> at) {
        tubes.push_back({from, to, radius});
        std::vector<std::size_t> nodes;
        Points points = straightPoints(from, to, 1.0);
        if (at)
            points.erase(points.begin()); // `from` is the attachment node itself
        for (const Eigen::Vector3d& p : points)
            nodes.push_back(add(p, nodes.empty() ? at : std::optional(nodes.back())));
        return nodes;
    }
    void spur(std::size_t at, const Eigen::Vector3d& direction, double length) {
        Points points = straightPoints(positions[at], positions[at] + length * direction.normalized(), 1.0);
        std::size_t previous = at;
        for (auto p = std::next(points.begin()); p != points.end(); ++p) {
            previous = add(*p, previous);
            spurNodes.insert(previous);
        }
    }

    static SpurTree make() {
        SpurTree tree;
        const auto trunk = tree.branch({8, 32, 32}, {88, 32, 32}, 5.0, std::nullopt);
        const auto up = tree.branch(tree.positions[trunk[22]], {36, 46, 36}, 3.0, trunk[22]);
        const auto down = tree.branch(tree.positions[trunk[52]], {56, 15, 40}, 3.0, trunk[52]);
        tree.branch(tree.positions[down[4]], {72, 12, 48}, 2.0, down[4]);
        // Spurs shorter than the local radius (5 on the trunk, 3 on the branches), in oblique directions.
        tree.spur(trunk[30], {0.2, 1, 0.3}, 4.0);
        tree.spur(trunk[40], {0, -0.4, 1}, 3.0);
        tree.spur(trunk[45], {-0.3, 0.5, -1}, 2.0);
        tree.spur(trunk[62], {0.5, 0.5, 0.5}, 3.5);
        tree.spur(up[4], {1, 0, 0.2}, 2.0);
        tree.spur(down[9], {-1, 0.1, 0.4}, 1.5);
        return tree;
    }

    /// The graph with node number i under id ids[i].
    std::unique_ptr<Graph> graph(const std::vector<unsigned long>& ids) const {
        auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
        for (std::size_t i = 0; i < positions.size(); ++i)
            graph->addOrReplaceNode(ids[i], Graph::NodeInfo(positions[i], {}));
        for (const auto& [a, b] : edges)
            graph->addEdge(ids[a], ids[b], {});
        return graph;
    }
    std::vector<unsigned long> sequentialIds() const {
        std::vector<unsigned long> result(positions.size());
        std::iota(result.begin(), result.end(), 1ul);
        return result;
    }
};

using Geometry = std::pair<std::set<std::tuple<double, double, double>>,
                           std::set<std::pair<std::tuple<double, double, double>, std::tuple<double, double, double>>>>;

/// Node positions and edges as position pairs: what remains independent of ids.
Geometry geometryOf(const Graph& graph) {
    Geometry geometry;
    const auto key = [](const Eigen::Vector3d& p) { return std::make_tuple(p.x(), p.y(), p.z()); };
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { geometry.first.insert(key(node.position)); });
    graph.forEachEdge([&](const Graph::EdgeInfo&, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        geometry.second.insert(std::minmax(key(a.position), key(b.position)));
    });
    return geometry;
}

TEST(PruneTerminalPathsTest, DistanceBasedPruningRemovesSpursWithinTheVesselAndKeepsBranches) {
    const SpurTree tree = SpurTree::make();
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::Float, Eigen::Vector3i(96, 64, 64)),
                                     Eigen::Matrix4d::Identity());
    // The image frame has its origin at the volume centre; shift it so that world = pixel coordinates.
    ImageDescriptorWorld placed = frame;
    placed.matrixToWorld = frame.imageToPixelMatrix();
    auto distance = imageSet(tubeDistanceImage(tree.tubes, placed));

    auto graph = tree.graph(tree.sequentialIds());
    ASSERT_TRUE(PruneTerminalPathsAlgorithm::removePathsDistanceBased(*graph, distance.get(), 1.0));
    std::set<std::size_t> remaining;
    for (unsigned long id : ids(*graph))
        remaining.insert(id - 1);
    std::set<std::size_t> expected;
    for (std::size_t i = 0; i < tree.positions.size(); ++i)
        if (tree.spurNodes.count(i) == 0)
            expected.insert(i);
    EXPECT_EQ(remaining, expected);
    EXPECT_TRUE(graphIsConsistent(*graph));

    // Pruning does not depend on node ids: the same tree under shuffled ids keeps the same geometry.
    std::vector<unsigned long> shuffled = tree.sequentialIds();
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
    for (unsigned long& id : shuffled)
        id = id * 3 + 100;
    auto permuted = tree.graph(shuffled);
    ASSERT_TRUE(PruneTerminalPathsAlgorithm::removePathsDistanceBased(*permuted, distance.get(), 1.0));
    EXPECT_EQ(geometryOf(*permuted), geometryOf(*graph));

    auto byThreshold = tree.graph(tree.sequentialIds());
    auto byThresholdPermuted = tree.graph(shuffled);
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*byThreshold, 3.2);
    PruneTerminalPathsAlgorithm::removeShortTerminalPaths(*byThresholdPermuted, 3.2);
    EXPECT_EQ(geometryOf(*byThreshold), geometryOf(*byThresholdPermuted));
    EXPECT_NE(geometryOf(*byThreshold), geometryOf(*graph)) << "the longer spurs survive a threshold of 3.2";
}

} // namespace
} // namespace Tarnwick
