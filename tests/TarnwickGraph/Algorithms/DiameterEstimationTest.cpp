#include "../GraphInvariants.h"
#include "PolylineGraph.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"
#include "support/TubeImages.h"

#include <TarnwickGraph/Algorithms/DiameterEstimation.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/Plugin/GraphPluginFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>
#include <memory>

namespace Tarnwick {
namespace {

using Test::addPolyline;
using Test::graphIsConsistent;
using Test::LogCapture;
using Test::obliquePlacement;
using Test::straightPoints;
using Test::tubeAlong;
using Test::tubeLabelImage;
using Points = std::vector<Eigen::Vector3d>;
namespace DE = DiameterEstimation;

constexpr double pi = 3.141592653589793;

/// An image filled with `inside` in the voxel box [lo, hi] and 0 elsewhere. Images placed with
/// descriptor.imageToPixelMatrix() have world coordinates equal to their pixel coordinates.
std::shared_ptr<SharedImage> boxImage(const ImageDescriptor& descriptor, const Eigen::Vector3i& lo,
                                      const Eigen::Vector3i& hi, double inside) {
    std::shared_ptr<MemImage> mem = MemImage::create(descriptor);
    dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        auto& image = static_cast<TypedImage<T>&>(*mem);
        for (int z = lo.z(); z <= hi.z(); ++z)
            for (int y = lo.y(); y <= hi.y(); ++y)
                for (int x = lo.x(); x <= hi.x(); ++x)
                    image.setValue(x, y, z, static_cast<T>(inside));
    });
    return std::make_shared<SharedImage>(mem);
}

std::vector<double> diameters(const Graph& graph, int featureIdx) {
    std::vector<double> values;
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        values.push_back(edge.features[static_cast<std::size_t>(featureIdx)]);
    });
    return values;
}

/// The vessel method without zero filling and with smoothing that changes nothing: the raw measurement.
int rawVesselDiameters(Graph& graph, const SharedImage& labels, double threshold = 0.5) {
    return DE::computeVesselDiameters(graph, labels, false, std::nullopt, false, threshold);
}

// --- accuracy on synthetic tubes ---------------------------------------------------------------------

enum class Shape { AxisAligned, Oblique, Arc };

struct TubeSetup {
    Shape shape;
    Eigen::Vector3d spacing;
    bool obliqueImage; ///< image axes rotated against the world axes
};

std::string setupName(const testing::TestParamInfo<TubeSetup>& info) {
    const char* shapes[] = {"AxisAligned", "Oblique", "Arc"};
    return std::string(shapes[static_cast<int>(info.param.shape)]) +
           (info.param.spacing.x() == info.param.spacing.z() ? "Isotropic" : "Anisotropic") +
           (info.param.obliqueImage ? "RotatedImage" : "");
}

struct TubeErrors {
    double plain;    ///< plain method: median radius error in voxels of the coarsest axis (negative: too thin)
    double vessel;   ///< vessel method: the same
    double measured; ///< the main job's mask measurement: median relative diameter error
};

/// A tube of radius radiusVoxels (in voxels of the coarsest axis) around the curve of `setup`, measured on
/// a centerline graph with one node per voxel along the curve: with both methods (the vessel method as
/// mode VesselDiameter calls it) and with the main job's measurement.
TubeErrors measureTube(const TubeSetup& setup, double radiusVoxels) {
    const double voxel = setup.spacing.maxCoeff();
    const double radius = radiusVoxels * voxel;
    // The curve in the image's own frame, finely for the label and at voxel steps for the graph.
    auto curve = [&](double step) {
        if (setup.shape != Shape::Arc) {
            const Eigen::Vector3d direction = setup.shape == Shape::AxisAligned
                                                  ? Eigen::Vector3d::UnitZ()
                                                  : Eigen::Vector3d(1, 0.55, 0.3).normalized();
            const double length = 8 * radius + 10 * voxel;
            return straightPoints(-0.5 * length * direction, 0.5 * length * direction, step);
        }
        const Eigen::Vector3d e1 = Eigen::Vector3d(1, 0.2, -0.3).normalized();
        const Eigen::Vector3d e2 = e1.cross(Eigen::Vector3d(0.1, 0.3, 1)).normalized();
        const double bend = std::max(4 * radius, 12 * voxel);
        const int steps = static_cast<int>(std::ceil(pi * bend / step));
        Points points;
        for (int i = 0; i <= steps; ++i) {
            const double angle = -pi / 2 + pi * i / steps;
            points.push_back(bend * (std::cos(angle) * e1 + std::sin(angle) * e2));
        }
        return points;
    };
    Points fine = curve(0.25 * voxel);
    Points nodes = curve(voxel);

    Eigen::Vector3d lo = fine.front(), hi = fine.front();
    for (const Eigen::Vector3d& p : fine) {
        lo = lo.cwiseMin(p);
        hi = hi.cwiseMax(p);
    }
    const Eigen::Vector3d extent = (hi - lo).array() + 2 * radius + 8 * voxel;
    const Eigen::Vector3i dims = (extent.array() / setup.spacing.array()).ceil().cast<int>();
    const Eigen::Matrix4d placement = setup.obliqueImage ? obliquePlacement() : Eigen::Matrix4d::Identity();
    Eigen::Matrix4d imageToWorld = placement;
    imageToWorld.topRightCorner<3, 1>() += placement.topLeftCorner<3, 3>() * (0.5 * (lo + hi));
    for (Points* points : {&fine, &nodes})
        for (Eigen::Vector3d& p : *points)
            p = (placement * p.homogeneous()).head<3>();

    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::UInt8, dims, 1, setup.spacing), imageToWorld);
    const std::shared_ptr<SharedImage> labels = tubeLabelImage(tubeAlong(fine, radius), frame);

    auto medianError = [&](auto&& measure, bool relative) {
        Graph graph(Graph::Undirected, Graph::Dim3D);
        addPolyline(graph, nodes);
        std::vector<double> errors;
        for (double d : diameters(graph, measure(graph)))
            errors.push_back(relative ? std::abs(d - 2 * radius) / (2 * radius) : (0.5 * d - radius) / voxel);
        return GraphUtils::computeMedian(errors);
    };
    const double plain =
        medianError([&](Graph& graph) { return DE::computeDiameters(graph, *labels, false, 0.5); }, false);
    const double vessel = medianError(
        [&](Graph& graph) { return DE::computeVesselDiameters(graph, *labels, true, 3, true, 0.5); }, false);
    const double measured = medianError(
        [&](Graph& graph) {
            EXPECT_TRUE(measureVesselDiameters(graph, *labels));
            return graph.getEdgeFeatureIdx("diameter").value_or(0);
        },
        true);
    return {plain, vessel, measured};
}

/// The command line reaches ComputeFeatures through the catalogue.
class TubeAccuracyTest : public testing::TestWithParam<TubeSetup> {
protected:
    static void SetUpTestSuite() { FactoryRegistry::get().addAlgorithmFactory(&catalogue()); }
    static void TearDownTestSuite() { FactoryRegistry::get().removeAlgorithmFactory(&catalogue()); }
    static GraphPluginFactory& catalogue() {
        static GraphPluginFactory factory;
        return factory;
    }
};

// Both methods read the voxel found by truncating the pixel coordinate, up to one voxel towards the
// negative axes in this host's frame (voxel centres at whole numbers); the plain method stops at the first
// ray out, the vessel method counts whole steps and trims long rays. Both therefore underestimate the
// radius, by at most about 1.3 (plain) and 1 (vessel) voxels. The main job
// reads the nearest voxel with ray steps of a sixteenth of a voxel, which brings the diameter within 10 %.
TEST_P(TubeAccuracyTest, RadiusErrorStaysWithinTheReadingBiasAndTheMaskMeasurementWithinTenPercent) {
    for (double radiusVoxels : {2.0, 3.0, 5.0, 10.0}) {
        const TubeErrors error = measureTube(GetParam(), radiusVoxels);
        EXPECT_GE(error.plain, -1.35) << "plain method, radius " << radiusVoxels;
        EXPECT_LE(error.plain, 0.1) << "plain method, radius " << radiusVoxels;
        EXPECT_GE(error.vessel, -1.1) << "vessel method, radius " << radiusVoxels;
        EXPECT_LE(error.vessel, 0.0) << "vessel method, radius " << radiusVoxels;
        EXPECT_LE(error.measured, 0.10) << "mask measurement, radius " << radiusVoxels;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Tubes, TubeAccuracyTest,
    testing::Values(TubeSetup{Shape::AxisAligned, {1, 1, 1}, false}, TubeSetup{Shape::AxisAligned, {0.5, 0.5, 1}, true},
                    TubeSetup{Shape::Oblique, {1, 1, 1}, false}, TubeSetup{Shape::Oblique, {1, 1, 1}, true},
                    TubeSetup{Shape::Oblique, {0.5, 0.5, 1}, true}, TubeSetup{Shape::Arc, {1, 1, 1}, true},
                    TubeSetup{Shape::Arc, {0.5, 0.5, 1}, false}),
    setupName);

// --- behaviour of the ray casting --------------------------------------------------------------------

TEST(DiameterEstimationTest, SupportedPixelTypesGiveIdenticalResultsOthersAreRefused) {
    const ImageDescriptor shape(PixelType::UInt8, {32, 32, 32});
    const Points axis = straightPoints({16, 16, 4}, {16, 16, 28}, 1.0);
    const auto tubes = tubeAlong({{16, 16, 2}, {16, 16, 30}}, 6.0);
    std::vector<double> plainReference, vesselReference;
    for (PixelType type : {PixelType::UInt8, PixelType::UInt16, PixelType::Float}) {
        ImageDescriptor descriptor = shape;
        descriptor.pixelType = type;
        const auto labels = tubeLabelImage(tubes, ImageDescriptorWorld(descriptor, descriptor.imageToPixelMatrix()));
        Graph plain(Graph::Undirected, Graph::Dim3D), vessel(Graph::Undirected, Graph::Dim3D);
        addPolyline(plain, axis);
        addPolyline(vessel, axis);
        const std::vector<double> plainValues = diameters(plain, DE::computeDiameters(plain, *labels, false, 0.5));
        const std::vector<double> vesselValues = diameters(vessel, rawVesselDiameters(vessel, *labels));
        if (plainReference.empty()) {
            plainReference = plainValues;
            vesselReference = vesselValues;
        }
        EXPECT_EQ(plainValues, plainReference) << pixelTypeName(type);
        EXPECT_EQ(vesselValues, vesselReference) << pixelTypeName(type);
    }

    ImageDescriptor signedShorts = shape;
    signedShorts.pixelType = PixelType::Int16;
    const auto refused = boxImage(signedShorts, {0, 0, 0}, {31, 31, 31}, 1.0);
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, axis);
    graph.clearFeatureDescriptors();
    EXPECT_EQ(DE::computeDiameters(graph, *refused, true, 0.5), -1);
    EXPECT_EQ(DE::computeVesselDiameters(graph, *refused, true, 3, true, 0.5), -1);
    EXPECT_TRUE(graph.edgeFeatureDescriptors().empty()) << "nothing is written";
    EXPECT_EQ(DE::computeDiametersImpl<float>(graph, *refused, false, 0.5), -1) << "type checked at every entry";
}

TEST(DiameterEstimationTest, ImagesTooFinelySpacedForTheirExtentAreRefused) {
    // 128 mm across with a smallest spacing of 0.1 um: rays would need over two million steps.
    const ImageDescriptor descriptor(PixelType::UInt8, {4, 64, 64}, 1, {1e-4, 2.0, 2.0});
    const auto labels = boxImage(descriptor, {0, 0, 0}, {3, 63, 63}, 1.0);
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, {{0, 0, 0}, {0, 0, 1}});
    LogCapture log;
    EXPECT_EQ(DE::computeDiameters(graph, *labels, false, 0.5), -1);
    EXPECT_EQ(DE::computeVesselDiameters(graph, *labels, true, 3, true, 0.5), -1);
    EXPECT_EQ(log.errors().size(), 2u);
    EXPECT_EQ(graph.edgeFeatureDescriptors().size(), 1u);
    EXPECT_EQ(diameters(graph, 0), std::vector<double>{0.0});
}

TEST(DiameterEstimationTest, EdgesOutsideTheImageInBackgroundOrNotAboveTheThresholdGetZero) {
    // A bar of value 0.75: inside at threshold 0.5, background at 0.75 (inside means strictly above).
    const ImageDescriptor descriptor(PixelType::Float, {24, 24, 24});
    const auto labels = boxImage(descriptor, {8, 8, 0}, {15, 15, 23}, 0.75);
    labels->setMatrixToWorld(descriptor.imageToPixelMatrix());
    for (double threshold : {0.5, 0.75})
        for (bool vessel : {false, true}) {
            Graph graph(Graph::Undirected, Graph::Dim3D);
            addPolyline(graph, {{12, 12, 4}, {12, 12, 6}}); // inside the bar
            addPolyline(graph, {{50, 12, 4}, {50, 12, 6}}); // midpoint outside the image
            addPolyline(graph, {{-3, -3, 4}, {-3, -3, 6}}); // outside on the negative side
            addPolyline(graph, {{3, 3, 10}, {3, 3, 12}});   // inside the image, in background
            const int idx = vessel ? rawVesselDiameters(graph, *labels, threshold)
                                   : DE::computeDiameters(graph, *labels, false, threshold);
            const std::vector<double> values = diameters(graph, idx);
            ASSERT_EQ(values.size(), 4u);
            EXPECT_EQ(values[0] > 6.0, threshold < 0.75) << vessel << " " << threshold;
            EXPECT_EQ(values[0] == 0.0, threshold == 0.75) << vessel << " " << threshold;
            EXPECT_EQ(values[1], 0.0) << vessel;
            EXPECT_EQ(values[2], 0.0) << vessel;
            EXPECT_EQ(values[3], 0.0) << vessel;
        }
}

TEST(DiameterEstimationTest, PlainMethodStopsAtTheImageBorderWithoutRefinement) {
    // A structure filling the whole image: the ring at radius 11 leaves the image, so the radius is the
    // last all-inside ring, 10, exactly.
    const ImageDescriptor descriptor(PixelType::UInt8, {21, 21, 21});
    const auto full = boxImage(descriptor, {0, 0, 0}, {20, 20, 20}, 1.0);
    full->setMatrixToWorld(descriptor.imageToPixelMatrix());
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, {{10, 10, 9}, {10, 10, 11}});
    EXPECT_EQ(diameters(graph, DE::computeDiameters(graph, *full, false, 0.5)), std::vector<double>{20.0});

    // The same structure ending inside a larger image: the failing ray is bisected past the last ring.
    // The centre sits off the voxel grid so that the boundary does not fall on a ring.
    const ImageDescriptor larger(PixelType::UInt8, {41, 41, 41});
    const auto bar = boxImage(larger, {10, 10, 0}, {30, 30, 40}, 1.0);
    bar->setMatrixToWorld(larger.imageToPixelMatrix());
    Graph inside(Graph::Undirected, Graph::Dim3D);
    addPolyline(inside, {{20.375, 20.625, 19}, {20.375, 20.625, 21}});
    const double d = diameters(inside, DE::computeDiameters(inside, *bar, false, 0.5)).front();
    EXPECT_GT(d, 20.0);
    EXPECT_LT(d, 22.0);
    EXPECT_NE(d, std::floor(d)) << "refined between rings";
}

TEST(DiameterEstimationTest, ZeroLengthEdgesSampleTheirMidpointOnly) {
    // Every ray samples the midpoint itself, which stays inside until the largest radius below
    // sqrt(3) * 5 = 8.66 is reached: radius 8 for both methods.
    const ImageDescriptor descriptor(PixelType::Float, {5, 5, 5});
    const auto labels = boxImage(descriptor, {2, 2, 2}, {2, 2, 2}, 1.0);
    labels->setMatrixToWorld(descriptor.imageToPixelMatrix());
    for (bool vessel : {false, true}) {
        Graph graph(Graph::Undirected, Graph::Dim3D);
        const unsigned long a = graph.addNode(Graph::NodeInfo(Eigen::Vector3d(2.2, 2.2, 2.2), {}));
        const unsigned long b = graph.addNode(Graph::NodeInfo(Eigen::Vector3d(2.2, 2.2, 2.2), {}));
        graph.addEdge(a, b, {});
        const int idx = vessel ? rawVesselDiameters(graph, *labels) : DE::computeDiameters(graph, *labels, false, 0.5);
        EXPECT_EQ(diameters(graph, idx), std::vector<double>{16.0}) << vessel;
    }
}

TEST(DiameterEstimationTest, GraphPlacementAndImagePlacementAreBothApplied) {
    const ImageDescriptor descriptor(PixelType::UInt8, {40, 40, 40});
    const Eigen::Matrix4d imagePlacement = obliquePlacement(0.4, {5, -7, 2});
    const ImageDescriptorWorld frame(descriptor, imagePlacement);
    const Eigen::Vector3d a = frame.pixelToWorld({12, 14, 20}), b = frame.pixelToWorld({28, 24, 21});
    const auto labels = tubeLabelImage(tubeAlong({a, b}, 5.0), frame);

    Graph world(Graph::Undirected, Graph::Dim3D);
    addPolyline(world, straightPoints(a, b, 1.0));
    // The same nodes stored relative to the graph's own placement (a translation, so that the rays keep
    // their directions and hit the same voxels).
    const Eigen::Vector3d offset(30.25, 2.5, -4.75);
    Graph placed(Graph::Undirected, Graph::Dim3D);
    Eigen::Matrix4d graphPlacement = Eigen::Matrix4d::Identity();
    graphPlacement.topRightCorner<3, 1>() = offset;
    placed.setMatrixToWorld(graphPlacement);
    Points local;
    for (const Eigen::Vector3d& p : straightPoints(a, b, 1.0))
        local.push_back(p - offset);
    addPolyline(placed, local);

    const std::vector<double> expected = diameters(world, DE::computeDiameters(world, *labels, false, 0.5));
    const std::vector<double> actual = diameters(placed, DE::computeDiameters(placed, *labels, false, 0.5));
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], 1e-9) << i;
    EXPECT_NEAR(GraphUtils::computeMedian(expected), 10.0, 2.5);
}

TEST(DiameterEstimationTest, VesselMethodSmoothsAlongSegmentsAfterMeasuring) {
    // A tube whose radius steps from 4 to 6 halfway: smoothing evens the step out, and equals measuring
    // without smoothing followed by the segment clamping and averaging with factor 1.1.
    const ImageDescriptor descriptor(PixelType::UInt8, {32, 32, 48});
    const ImageDescriptorWorld frame(descriptor, descriptor.imageToPixelMatrix());
    const auto labels = tubeLabelImage({{{16, 16, 4}, {16, 16, 24}, 4.0}, {{16, 16, 24}, {16, 16, 44}, 6.0}}, frame);
    const Points axis = straightPoints({16, 16, 6}, {16, 16, 42}, 1.0);

    Graph raw(Graph::Undirected, Graph::Dim3D), smoothed(Graph::Undirected, Graph::Dim3D);
    addPolyline(raw, axis);
    addPolyline(smoothed, axis);
    const int rawIdx = rawVesselDiameters(raw, *labels);
    ASSERT_TRUE(GraphUtils::clampAndSmoothEdgeFeature(raw, rawIdx, true, 5, 1.1));
    const int idx = DE::computeVesselDiameters(smoothed, *labels, true, 5, false, 0.5);
    EXPECT_EQ(diameters(smoothed, idx), diameters(raw, rawIdx));
    EXPECT_TRUE(graphIsConsistent(smoothed));
}

TEST(DiameterEstimationTest, VesselMethodIsNotInflatedByABranch) {
    // At a T-junction some rays run far into the side branch; the trimmed mean ignores them.
    const ImageDescriptor descriptor(PixelType::UInt8, {48, 48, 48});
    const ImageDescriptorWorld frame(descriptor, descriptor.imageToPixelMatrix());
    const auto labels = tubeLabelImage({{{24, 24, 4}, {24, 24, 44}, 4.0}, {{24, 24, 24}, {24, 46, 24}, 4.0}}, frame);
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, {{24, 24, 23.5}, {24, 24, 24.5}});
    const double junction = diameters(graph, rawVesselDiameters(graph, *labels)).front();
    EXPECT_GT(junction, 6.5);
    EXPECT_LT(junction, 8.5);
}

// --- zero-edge filling -------------------------------------------------------------------------------

/// A chain 1 - 2 - ... with the given first edge features.
std::unique_ptr<Graph> chainWithValues(const std::vector<double>& values, Graph::Type type = Graph::Undirected) {
    auto graph = std::make_unique<Graph>(type, Graph::Dim3D);
    for (std::size_t i = 0; i <= values.size(); ++i)
        graph->addNode(Graph::NodeInfo(Eigen::Vector3d(static_cast<double>(i), 0, 0), {}));
    for (std::size_t i = 0; i < values.size(); ++i)
        graph->addEdge(i + 1, i + 2, {{values[i]}});
    return graph;
}

TEST(DiameterEstimationTest, ZeroEdgesTakeTheNearestRingAverageInEdgeOrder) {
    // Edge 2-3 sees 2 at ring one; edge 3-4 then sees the filled 2 and the 6 beyond it.
    auto graph = chainWithValues({2, 0, 0, 6});
    DE::fillZeroEdgesWithNeighborAverage(*graph, 0);
    EXPECT_EQ(diameters(*graph, 0), (std::vector<double>{2, 2, 4, 6}));
    EXPECT_TRUE(graphIsConsistent(*graph));

    // The nearest ring wins even when a farther one holds larger values.
    auto rings = chainWithValues({0, 1, 100});
    DE::fillZeroEdgesWithNeighborAverage(*rings, 0);
    EXPECT_EQ(diameters(*rings, 0), (std::vector<double>{1, 1, 100}));

    // Directed back-references are followed without being read.
    auto directed = chainWithValues({0, 4}, Graph::Directed);
    DE::fillZeroEdgesWithNeighborAverage(*directed, 0);
    EXPECT_EQ(diameters(*directed, 0), (std::vector<double>{4, 4}));
}

TEST(DiameterEstimationTest, NeighbourAverageReadsTheFirstEdgeFeature) {
    // "diameter" is the second column here; the average is taken over the first one ("length").
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.clearFeatureDescriptors();
    graph.addEdgeFeatureDescriptors({{"length", 0.0}, {"diameter", 0.0}});
    for (int i = 0; i < 4; ++i)
        graph.addNode(Graph::NodeInfo(Eigen::Vector3d(i, 0, 0), {}));
    graph.addEdge(1, 2, {{10.0, 3.0}});
    graph.addEdge(2, 3, {{20.0, 0.0}});
    graph.addEdge(3, 4, {{30.0, 5.0}});
    DE::fillZeroEdgesWithNeighborAverage(graph, 1);
    EXPECT_EQ(diameters(graph, 1), (std::vector<double>{3, 20, 5}));

    std::unordered_set<unsigned long> visited;
    EXPECT_EQ(DE::computeNeighborAverageDiameter(graph, {}, visited), 0.0);
    EXPECT_EQ(DE::computeNeighborAverageDiameter(graph, {2}, visited), 15.0);
    EXPECT_EQ(visited, (std::unordered_set<unsigned long>{2}));
}

TEST(DiameterEstimationTest, FillingLongChainsNeitherRecursesNorRepeatsSearches) {
    // 100000 zero edges with one value at the far end: a recursive ring search would exhaust the stack,
    // and repeated full searches of a component without values would take quadratic time. A component
    // without values stays zero; one searched after it is still filled.
    std::vector<double> values(100000, 0.0);
    auto barren = chainWithValues(values);
    const unsigned long a = barren->addNode(Graph::NodeInfo(Eigen::Vector3d(0, 1, 0), {}));
    const unsigned long b = barren->addNode(Graph::NodeInfo(Eigen::Vector3d(0, 2, 0), {}));
    barren->addEdge(a, b, {{0.0}});
    barren->addEdge(b, barren->addNode(Graph::NodeInfo(Eigen::Vector3d(0, 3, 0), {})), {{7.0}});
    DE::fillZeroEdgesWithNeighborAverage(*barren, 0);
    const std::vector<double> separate = diameters(*barren, 0);
    EXPECT_EQ(separate.front(), 0.0);
    EXPECT_EQ(separate[99999], 0.0);
    EXPECT_EQ(separate[100000], 7.0);

    values.back() = 5.0;
    auto graph = chainWithValues(values);
    DE::fillZeroEdgesWithNeighborAverage(*graph, 0);
    const std::vector<double> filled = diameters(*graph, 0);
    EXPECT_EQ(filled.front(), 5.0);
    EXPECT_EQ(filled[50000], 5.0);
}

} // namespace
} // namespace Tarnwick
