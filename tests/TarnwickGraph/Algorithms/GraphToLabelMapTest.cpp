#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>

#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Mode = GraphToLabelMapAlgorithm::Mode;

namespace {

const std::string fallbackMessage = "OpenGL 4.3 not available, using CPU fallback";

/// An undirected graph with the given node positions and (from, to, diameter) edges over node indices.
struct EdgeRow {
    int from, to;
    double diameter;
};
std::unique_ptr<Graph> makeGraph(const std::vector<Eigen::Vector3d>& positions, const std::vector<EdgeRow>& edges) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (const Eigen::Vector3d& p : positions)
        graph->addNode(Graph::NodeInfo(p, {}));
    for (const EdgeRow& e : edges)
        graph->addEdge(static_cast<unsigned long>(e.from) + 1, static_cast<unsigned long>(e.to) + 1,
                       Graph::EdgeInfo({e.diameter}));
    return graph;
}

ImageDescriptorWorld grid(const Eigen::Vector3i& dims, const Eigen::Vector3d& spacing,
                          const Eigen::Matrix4d& matrixToWorld = Eigen::Matrix4d::Identity()) {
    return {ImageDescriptor(PixelType::Float, dims, 1, spacing), matrixToWorld};
}

struct Result {
    int status = -1;
    std::unique_ptr<SharedImageSet> labels;
    std::vector<Log::Record> log;
};

/// The plug-in, whose init() registers the compute shader's resource repository, for the whole test run.
/// It goes before the host's registries do (which a static object of this file would not).
class PluginEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        m_plugin = std::make_unique<GraphPlugin>();
        m_plugin->init();
    }
    void TearDown() override { m_plugin.reset(); }

private:
    std::unique_ptr<GraphPlugin> m_plugin;
};
[[maybe_unused]] ::testing::Environment* const pluginEnvironment =
    ::testing::AddGlobalTestEnvironment(new PluginEnvironment); // gtest takes ownership

Result runAlgorithm(const Graph& graph, std::optional<ImageDescriptorWorld> reference, Mode mode, bool forceCPU,
                    double spacing = 1.0) {
    LogCapture capture(Log::Info);
    GraphToLabelMapAlgorithm algorithm(graph, std::move(reference));
    algorithm.mode = mode;
    algorithm.forceCPU = forceCPU;
    algorithm.spacing = spacing;
    algorithm.compute();
    Result run;
    run.status = algorithm.status();
    run.labels = algorithm.takeOutput().extractFirstImage();
    run.log = capture.records();
    for (const Log::Record& record : run.log)
        EXPECT_NE(record.message.rfind("The GPU path failed", 0), 0u) << record.message;
    return run;
}

bool logged(const Result& run, int level, const std::string& message) {
    for (const Log::Record& record : run.log)
        if (record.level == level && record.message == message)
            return true;
    return false;
}

/// Whether the GPU path runs here: OpenGL 4.3, in a context of its own when none is current. (Where it
/// runs but fails, runAlgorithm() reports the failure.)
bool gpuRuns() {
    static const bool runs = [] {
        const auto graph = makeGraph({{0, 0, 0}, {3, 0, 0}}, {{0, 1, 2.0}});
        const Result run =
            runAlgorithm(*graph, grid({8, 8, 8}, {1, 1, 1}), GraphToLabelMapAlgorithm::Centerline, false);
        return !logged(run, Log::Info, fallbackMessage);
    }();
    return runs;
}

/// Back ends to run: the CPU always, the GPU where it runs.
std::vector<bool> backends() {
    return gpuRuns() ? std::vector<bool>{true, false} : std::vector<bool>{true};
}

const std::uint8_t* labelValues(const Result& run) {
    return run.labels->img<std::uint8_t>()->pointer();
}

/// Calls fn(world position of the voxel centre, label) for every voxel of the output.
template <typename Fn>
void forEachVoxel(const Result& run, Fn&& fn) {
    const SharedImage& image = *run.labels->get(0);
    const ImageDescriptorWorld world = image.descriptorWorld();
    const Eigen::Vector3i dims = image.descriptor().dimensions;
    const std::uint8_t* labels = labelValues(run);
    for (int k = 0; k < dims.z(); ++k)
        for (int j = 0; j < dims.y(); ++j)
            for (int i = 0; i < dims.x(); ++i)
                fn(world.pixelToWorld(Eigen::Vector3d(i, j, k)), labels[image.descriptor().index(i, j, k)]);
}

std::size_t countLabels(const Result& run) {
    std::size_t count = 0;
    forEachVoxel(run, [&](const Eigen::Vector3d&, std::uint8_t label) { count += label; });
    return count;
}

} // namespace

// One edge against the exact shape in world space. Metric distances in scaled units equal world
// distances divided by one factor, so an anisotropic or rotated grid still draws the world capsule.
// Voxels within 1e-4 of the surface are left out: float and double may round them differently.
TEST(GraphToLabelMap, SingleEdgeMatchesTheAnalyticShape) {
    struct Case {
        const char* name;
        Mode mode;
        ImageDescriptorWorld reference;
        Eigen::Vector3d a, b;
        double radius;
    };
    const Mode capsule = GraphToLabelMapAlgorithm::Centerline, cylinder = GraphToLabelMapAlgorithm::Vessel;
    // clang-format off
    const Case cases[] = {
        {"capsule, axis-aligned, samples 2.25 voxels from the ends", capsule, grid({40, 24, 24}, {1, 1, 1}),
         {-7.7, 0.2, 0.1}, {5.8, 0.2, 0.1}, 6.9},
        {"capsule, oblique, anisotropic grid", capsule, grid({48, 40, 20}, {0.5, 0.6, 1.5}),
         {-8.1, -6.2, -5.3}, {7.7, 5.4, 6.1}, 2.6},
        {"capsule, rotated grid", capsule, grid({36, 36, 36}, {0.8, 0.8, 0.8}, Tarnwick::Test::obliquePlacement()),
         {-20.0, 33.0, -4.0}, {-4.5, 47.0, 9.5}, 2.2},
        {"cylinder, oblique", cylinder, grid({40, 40, 40}, {1, 1, 1}), {-9.2, -7.1, -3.3}, {8.4, 6.2, 5.5}, 3.3},
        {"cylinder, anisotropic grid", cylinder, grid({40, 40, 24}, {0.7, 0.7, 1.4}),
         {-8.2, 5.1, -9.3}, {7.4, -4.2, 8.5}, 2.8},
    };
    // clang-format on
    for (const Case& c : cases) {
        const auto graph = makeGraph({c.a, c.b}, {{0, 1, 2.0 * c.radius}});
        const Eigen::Vector3d axis = c.b - c.a;
        const double unit = std::cbrt(c.reference.descriptor.spacing.prod());
        for (bool cpu : backends()) {
            SCOPED_TRACE(std::string(c.name) + (cpu ? ", CPU" : ", GPU"));
            const Result run = runAlgorithm(*graph, c.reference, c.mode, cpu);
            ASSERT_EQ(run.status, Algorithm::Success);
            std::size_t wrong = 0, inside = 0;
            forEachVoxel(run, [&](const Eigen::Vector3d& p, std::uint8_t label) {
                const double t = (p - c.a).dot(axis) / axis.squaredNorm();
                const double toLine = (p - c.a - t * axis).norm();
                if (c.mode == GraphToLabelMapAlgorithm::Centerline) {
                    const double distance = (p - c.a - std::clamp(t, 0.0, 1.0) * axis).norm();
                    if (std::abs(distance - c.radius) > 1e-4)
                        wrong += label != (distance <= c.radius);
                } else if (std::abs(toLine - c.radius) > 1e-4) {
                    // Inside the segment the cylinder is exact; past the ends it reaches at most 2.5 scaled
                    // units (of the geometric-mean spacing).
                    const double beyond = std::max(-t, t - 1.0) * axis.norm();
                    if (beyond <= 0.0)
                        wrong += label != (toLine <= c.radius);
                    else if (beyond > 2.5 * unit + 1e-6 || toLine > c.radius)
                        wrong += label != 0;
                }
                inside += label;
            });
            EXPECT_EQ(wrong, 0u);
            EXPECT_GT(inside, 100u);
        }
    }
}

// Random trees drawn by both back ends into isotropic, anisotropic and rotated grids must agree voxel
// for voxel; radii from 0.2 to 4 voxels exercise thin edges, and one edge has zero length.
TEST(GraphToLabelMap, CpuAndGpuAgreeOnRandomTrees) {
    if (!gpuRuns())
        GTEST_SKIP() << "no OpenGL 4.3 context";
    struct Case {
        const char* name;
        ImageDescriptorWorld reference;
        Eigen::Matrix4d graphToWorld;
    };
    Eigen::Matrix4d shifted = Tarnwick::Test::obliquePlacement(-0.4, {3.0, -2.0, 1.5});
    const Case cases[] = {
        {"isotropic", grid({48, 40, 36}, {1, 1, 1}), Eigen::Matrix4d::Identity()},
        {"anisotropic", grid({64, 56, 20}, {0.6, 0.7, 1.9}), Eigen::Matrix4d::Identity()},
        {"rotated grid, rotated graph", grid({40, 44, 48}, {0.8, 0.8, 1.1}, Tarnwick::Test::obliquePlacement()),
         shifted},
    };
    for (const Case& c : cases) {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> unit(-1.0, 1.0), length(1.0, 6.0), diameter(0.4, 8.0);
        const Eigen::Vector3d centre = c.reference.pixelToWorld(
            (c.reference.descriptor.dimensions.cast<double>() - Eigen::Vector3d::Ones()) / 2.0);
        std::vector<Eigen::Vector3d> world{centre};
        std::vector<EdgeRow> edges;
        for (int i = 1; i < 80; ++i) {
            const Eigen::Vector3d direction = Eigen::Vector3d(unit(random), unit(random), unit(random)).normalized();
            const int parent = std::uniform_int_distribution<int>(0, i - 1)(random);
            world.push_back(world[static_cast<std::size_t>(parent)] + (i == 40 ? 0.0 : length(random)) * direction);
            edges.push_back({parent, i, diameter(random)});
        }
        std::vector<Eigen::Vector3d> local;
        for (const Eigen::Vector3d& p : world)
            local.push_back((c.graphToWorld.inverse() * p.homogeneous()).head<3>());
        auto graph = makeGraph(local, edges);
        graph->setMatrixToWorld(c.graphToWorld);
        for (Mode mode : {GraphToLabelMapAlgorithm::Centerline, GraphToLabelMapAlgorithm::Vessel}) {
            SCOPED_TRACE(std::string(c.name) +
                         (mode == GraphToLabelMapAlgorithm::Vessel ? ", Vessel" : ", Centerline"));
            const Result cpu = runAlgorithm(*graph, c.reference, mode, true);
            const Result gpu = runAlgorithm(*graph, c.reference, mode, false);
            ASSERT_EQ(cpu.status, Algorithm::Success);
            ASSERT_EQ(gpu.status, Algorithm::Success);
            const std::size_t voxels = c.reference.descriptor.numPixels();
            std::size_t differing = 0;
            for (std::size_t i = 0; i < voxels; ++i)
                differing += labelValues(cpu)[i] != labelValues(gpu)[i];
            EXPECT_EQ(differing, 0u);
            EXPECT_GT(countLabels(cpu), voxels / 50);
        }
    }
}

// Failures, warnings, the back-end message and the reference geometry, each on a small graph.
TEST(GraphToLabelMap, MessagesStatusAndReference) {
    struct Case {
        const char* name;
        std::vector<Eigen::Vector3d> nodes;
        std::vector<EdgeRow> edges;
        bool dropDiameter;
        bool forceCPU;
        int status;
        std::vector<std::pair<int, std::string>> messages; ///< (level, text) expected among the log
        int labels;                                        ///< expected voxels set; -1: not checked
    };
    const std::vector<Eigen::Vector3d> pair{{0, 0, 0}, {4, 0, 0}}, same{{1, 1, 1}, {1, 1, 1}};
    const int ok = Algorithm::Success, invalid = Algorithm::InvalidInput;
    const std::string smallRadius = " is smaller than one scaled unit, consider increasing the resolution.";
    // clang-format off
    const std::vector<Case> cases = {
        {"no nodes", {}, {}, false, true, invalid, {{Log::Error, "Graph has no nodes"}}, 0},
        {"no diameter", pair, {{0, 1, 2.0}}, true, true, invalid,
         {{Log::Error, "Graph does not have a diameter feature."}}, 0},
        {"no edges", {{0, 0, 0}}, {}, false, true, ok, {{Log::Warning, "All graph edge diameters are zero."}}, 0},
        {"zero diameters", pair, {{0, 1, 0.0}}, false, true, ok,
         {{Log::Warning, "All graph edge diameters are zero."}, {Log::Warning, "Smallest radius 0" + smallRadius}}, 0},
        {"small radius", {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}, {{0, 1, 0.25}, {0, 2, 6.0}}, false, true, ok,
         {{Log::Warning, "Smallest radius 0.25" + smallRadius}}, -1},
        {"zero-length edge, CPU", same, {{0, 1, 9.0}}, false, true, ok, {}, 0},
        {"zero-length edge, GPU", same, {{0, 1, 9.0}}, false, false, ok, {}, 0},
        {"negative diameter", pair, {{0, 1, -2.0}}, false, true, invalid,
         {{Log::Error, "Edge diameters must be finite, not negative and below 2^24 voxels."}}, 0},
        {"node far outside", {{0, 0, 0}, {4e9, 0, 0}}, {{0, 1, 2.0}}, false, true, invalid,
         {{Log::Error, "Node positions must be finite and lie within 2^24 voxels of the label map."}}, 0},
    };
    // clang-format on
    const ImageDescriptorWorld reference = grid({12, 10, 8}, {0.5, 0.5, 0.5});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto graph = makeGraph(c.nodes, c.edges);
        if (c.dropDiameter)
            graph->clearFeatureDescriptors();
        const Result run = runAlgorithm(*graph, reference, GraphToLabelMapAlgorithm::Centerline, c.forceCPU);
        EXPECT_EQ(run.status, c.status);
        for (const auto& [level, text] : c.messages)
            EXPECT_TRUE(logged(run, level, text)) << text;
        if (c.status != Algorithm::Success) {
            EXPECT_EQ(run.labels, nullptr);
            continue;
        }
        ASSERT_NE(run.labels, nullptr);
        EXPECT_EQ(run.labels->modality(), Data::Label);
        if (c.labels >= 0) {
            EXPECT_EQ(countLabels(run), static_cast<std::size_t>(c.labels));
        }
        // Success logs exactly the expected warnings, plus the fallback note where the GPU is missing.
        const bool fallback = !c.forceCPU && !gpuRuns();
        EXPECT_EQ(run.log.size(), c.messages.size() + (fallback ? 1 : 0));
        EXPECT_EQ(logged(run, Log::Info, fallbackMessage), fallback);
    }

    // The reference fixes the grid exactly and hides "spacing", which it overrides.
    const auto graph = makeGraph({{-1, 0, 0}, {1, 0, 0}}, {{0, 1, 1.0}});
    const ImageDescriptorWorld rotated = grid({9, 7, 5}, {0.4, 0.5, 0.9}, Tarnwick::Test::obliquePlacement());
    GraphToLabelMapAlgorithm withReference(*graph, rotated);
    GraphToLabelMapAlgorithm withoutReference(*graph, std::nullopt);
    EXPECT_EQ(withReference.spacing.attribute("hidden"), "true");
    EXPECT_NE(withoutReference.spacing.attribute("hidden"), "true");
    const Result run = runAlgorithm(*graph, rotated, GraphToLabelMapAlgorithm::Vessel, true, 3.0);
    ASSERT_EQ(run.status, Algorithm::Success);
    const SharedImage& image = *run.labels->get(0);
    EXPECT_EQ(image.descriptor().dimensions, rotated.descriptor.dimensions);
    EXPECT_EQ(image.descriptor().spacing, rotated.descriptor.spacing);
    EXPECT_EQ(image.descriptor().pixelType, PixelType::UInt8);
    EXPECT_EQ(image.matrixToWorld(), rotated.matrixToWorld);

    // Selections: one graph, alone or with exactly one image set.
    Graph other(Graph::Undirected, Graph::Dim3D);
    SharedImageSet images(
        std::make_shared<SharedImage>(std::shared_ptr<MemImage>(TypedImage<float>::zeros({4, 4, 4}))));
    SharedImageSet moreImages(
        std::make_shared<SharedImage>(std::shared_ptr<MemImage>(TypedImage<float>::zeros({2, 2, 2}))));
    Graph& g = *graph;
    EXPECT_TRUE(GraphToLabelMapAlgorithm::createCompatible(DataList{&g}, nullptr));
    EXPECT_TRUE(GraphToLabelMapAlgorithm::createCompatible(DataList{&images, &g}, nullptr));
    EXPECT_FALSE(GraphToLabelMapAlgorithm::createCompatible(DataList{&g, &other}, nullptr));
    EXPECT_FALSE(GraphToLabelMapAlgorithm::createCompatible(DataList{&images}, nullptr));
    EXPECT_FALSE(GraphToLabelMapAlgorithm::createCompatible(DataList{&g, &images, &moreImages}, nullptr));
    Algorithm* created = nullptr;
    ASSERT_TRUE(GraphToLabelMapAlgorithm::createCompatible(DataList{&g, &images}, &created));
    const std::unique_ptr<Algorithm> owned(created);
    EXPECT_EQ(static_cast<GraphToLabelMapAlgorithm*>(created)->spacing.attribute("hidden"), "true");
}

// Without a reference: ceil(extent / spacing) + 2 ceil(max radius) + 4 voxels per axis, isotropic spacing,
// centred on the world bounds of the graph (its matrix applied), axes along the world axes.
TEST(GraphToLabelMap, GridWithoutReferenceIsCentredOnTheGraph) {
    struct Case {
        double spacing;
        Eigen::Vector3d translation;
        Eigen::Vector3i dims;
    };
    // Nodes span 10 x 5 x 0 with radius 1.5 (scaled: 1.5 / spacing).
    const Case cases[] = {
        {0.5, {0, 0, 0}, {20 + 6 + 4, 10 + 6 + 4, 0 + 6 + 4}},
        {0.7, {-3, 8, 2.5}, {15 + 6 + 4, 8 + 6 + 4, 0 + 6 + 4}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.spacing);
        auto graph = makeGraph({{1, 2, 3}, {11, 7, 3}, {6, 2, 3}}, {{0, 1, 3.0}, {0, 2, 1.0}});
        Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
        placement.topRightCorner<3, 1>() = c.translation;
        graph->setMatrixToWorld(placement);
        for (bool cpu : backends()) {
            const Result run = runAlgorithm(*graph, std::nullopt, GraphToLabelMapAlgorithm::Centerline, cpu, c.spacing);
            ASSERT_EQ(run.status, Algorithm::Success);
            const SharedImage& image = *run.labels->get(0);
            EXPECT_EQ(image.descriptor().dimensions, c.dims);
            EXPECT_EQ(image.descriptor().spacing, Eigen::Vector3d::Constant(c.spacing));
            const ImageDescriptorWorld world = image.descriptorWorld();
            const Eigen::Vector3d centre = world.pixelToWorld((c.dims.cast<double>() - Eigen::Vector3d::Ones()) / 2);
            EXPECT_TRUE((centre.isApprox(Eigen::Vector3d(6, 4.5, 3) + c.translation, 1e-12))) << centre.transpose();
            EXPECT_TRUE((image.matrixToWorld().topLeftCorner<3, 3>().isIdentity()));
            // The voxel holding the middle of the thick edge is set, the grid corners are not.
            const Eigen::Vector3i middle =
                world.worldToPixel(Eigen::Vector3d(6, 4.5, 3) + c.translation).array().round().cast<int>();
            EXPECT_EQ(labelValues(run)[image.descriptor().index(middle.x(), middle.y(), middle.z())], 1);
            EXPECT_EQ(labelValues(run)[0], 0);
        }
    }

    // A spacing that is not positive, or so fine that the grid could not be allocated, fails cleanly.
    const auto graph = makeGraph({{0, 0, 0}, {1024, 1024, 1024}}, {{0, 1, 2.0}});
    const std::pair<double, std::string> refused[] = {
        {0.0, "The spacing must be positive and finite, not 0."},
        {1.0 / 1024, "A label map of 1050628 x 1050628 x 1050628 voxels is too large; increase the spacing."},
    };
    for (const auto& [spacing, message] : refused) {
        const Result run = runAlgorithm(*graph, std::nullopt, GraphToLabelMapAlgorithm::Centerline, true, spacing);
        EXPECT_EQ(run.status, Algorithm::InvalidInput);
        EXPECT_TRUE(logged(run, Log::Error, message)) << message;
    }
}
