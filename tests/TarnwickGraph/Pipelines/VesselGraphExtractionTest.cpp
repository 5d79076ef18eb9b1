
// The main job on a Y-shaped vessel of radius 2 mm: every pixel type measured, input checks with the
// options that override them, junction clean-up, output frames and the GraphML frame marker.
#include "support/LogCapture.h"
#include "support/TubeImages.h"

#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/IO/GraphMLReader.h>
#include <TarnwickGraph/IO/GraphMLWriter.h>
#include <TarnwickGraph/Pipelines/MaskDiameterMeasurement.h>
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Pipelines/WorkingGrid.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>

namespace Tarnwick {
namespace {

using Test::LogCapture;

constexpr double radiusMm = 2.0;

/// The Y vessel, 1 inside and 0 outside, on a 0.5 mm grid of the given pixel type, obliquely placed.
std::shared_ptr<SharedImage> vessel(PixelType type) {
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topLeftCorner<3, 3>() = Eigen::AngleAxisd(0.4, Eigen::Vector3d(1, 2, 3).normalized()).matrix();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(10, -20, 30);
    const ImageDescriptorWorld frame(ImageDescriptor(type, {64, 20, 64}, 1, {0.5, 0.5, 0.5}), placement);
    const auto world = [&](double x, double z) { return (placement * Eigen::Vector4d(x, 0, z, 1)).head<3>().eval(); };
    const Eigen::Vector3d fork = world(0, 0);
    return Test::tubeLabelImage(
        {{world(0, -12), fork, radiusMm}, {fork, world(10, 10), radiusMm}, {fork, world(-10, 10), radiusMm}}, frame);
}

/// The image with every value replaced by fn(value) (the vessel is 1, the rest 0), as pixel type T.
template <typename T>
std::shared_ptr<SharedImage> remapped(const SharedImage& mask, const std::function<T(double)>& fn) {
    const auto& values = static_cast<const TypedImage<unsigned char>&>(*mask.mem());
    ImageDescriptor descriptor = values.descriptor();
    descriptor.pixelType = pixelTypeOf<T>();
    std::shared_ptr<TypedImage<T>> image(TypedImage<T>::create(descriptor));
    for (std::size_t i = 0; i < descriptor.numValues(); ++i)
        image->pointer()[i] = fn(values.pointer()[i]);
    return std::make_shared<SharedImage>(image, mask.matrixToWorld());
}

struct JobRun {
    int status = -1;
    std::unique_ptr<Graph> graph;
    GraphSummary summary;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

JobRun run(const std::shared_ptr<SharedImage>& image,
           const std::function<void(VesselGraphExtractionAlgorithm&)>& configure = {}) {
    SharedImageSet set(image);
    VesselGraphExtractionAlgorithm job(set);
    if (configure)
        configure(job);
    const LogCapture log;
    job.compute();
    JobRun result{job.status(), job.takeOutput().extractFirst<Graph>(), job.summary(), log.errors(), log.warnings()};
    return result;
}

double medianDiameter(const Graph& graph) {
    std::vector<double> diameters;
    const int index = *graph.getEdgeFeatureIdx("diameter");
    graph.forEachEdge(
        [&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) { diameters.push_back(edge.features[index]); });
    return GraphUtils::computeMedian(diameters);
}

TEST(VesselGraphExtraction, EveryPixelTypeGivesTheSameGraphWithRealDiameters) {
    const JobRun reference = run(vessel(PixelType::UInt8));
    ASSERT_EQ(reference.status, Algorithm::Success);
    ASSERT_TRUE(reference.graph);
    EXPECT_NEAR(medianDiameter(*reference.graph), 2 * radiusMm, 0.1 * 2 * radiusMm);
    EXPECT_GT(reference.summary.minDiameter, 0.0);
    for (PixelType type : {PixelType::Int8, PixelType::Int16, PixelType::UInt16, PixelType::Int32, PixelType::UInt32,
                           PixelType::Float, PixelType::Double}) {
        SCOPED_TRACE(static_cast<int>(type));
        const JobRun typed = run(vessel(type));
        ASSERT_EQ(typed.status, Algorithm::Success);
        EXPECT_EQ(typed.summary.nodes, reference.summary.nodes);
        EXPECT_DOUBLE_EQ(typed.summary.minDiameter, reference.summary.minDiameter);
        EXPECT_DOUBLE_EQ(typed.summary.maxDiameter, reference.summary.maxDiameter);
    }
}

TEST(VesselGraphExtraction, ImagesThatAreNoMaskAreRefusedUntilTheForegroundIsChosen) {
    const std::shared_ptr<SharedImage> mask = vessel(PixelType::UInt8);
    struct Case {
        const char* name;
        std::shared_ptr<SharedImage> image;
        std::function<void(VesselGraphExtractionAlgorithm&)> choose;
    };
    const Case cases[] = {
        {"level set, negative inside", remapped<float>(*mask, [](double v) { return v > 0 ? -1.5f : 2.5f; }),
         [](VesselGraphExtractionAlgorithm& job) {
             job.threshold = std::optional<double>(0.0);
             job.invert = true;
         }},
        {"intensity image", remapped<short>(*mask, [n = 0](double v) mutable { return short(100 * v + ++n % 40); }),
         [](VesselGraphExtractionAlgorithm& job) { job.threshold = std::optional<double>(70.0); }},
        {"inverted mask", remapped<unsigned char>(*mask, [](double v) { return static_cast<unsigned char>(1 - v); }),
         [](VesselGraphExtractionAlgorithm& job) { job.invert = true; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const JobRun refused = run(c.image);
        EXPECT_EQ(refused.status, Algorithm::InvalidInput);
        ASSERT_EQ(refused.errors.size(), 1u);
        for (const char* option : {"--threshold T", "--invert", "--label N"})
            EXPECT_NE(refused.errors[0].find(option), std::string::npos) << refused.errors[0];
        const JobRun chosen = run(c.image, c.choose);
        ASSERT_EQ(chosen.status, Algorithm::Success);
        EXPECT_NEAR(medianDiameter(*chosen.graph), 2 * radiusMm, 0.1 * 2 * radiusMm);
    }
    // A label mask: the chosen label, or a label that is not there.
    const auto labels = remapped<unsigned short>(*mask, [](double v) { return static_cast<unsigned short>(7 * v); });
    EXPECT_EQ(run(labels, [](auto& job) { job.label = std::optional<int>(7); }).status, Algorithm::Success);
    EXPECT_EQ(run(labels, [](auto& job) { job.label = std::optional<int>(3); }).status, Algorithm::InvalidInput);
}

TEST(VesselGraphExtraction, MergedJunctionsGiveTheSummaryCountsWithoutACycleWarning) {
    for (const bool merge : {true, false}) {
        SCOPED_TRACE(merge);
        const JobRun result = run(vessel(PixelType::UInt8), [&](auto& job) { job.mergeJunctions = merge; });
        ASSERT_EQ(result.status, Algorithm::Success);
        EXPECT_TRUE(result.warnings.empty()) << result.warnings.front();
        const Graph& graph = *result.graph;
        std::size_t junctions = 0, adjacentJunctions = 0;
        graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
            if (neighbours.size() < 3)
                return;
            ++junctions;
            for (const auto& [neighbour, edge] : neighbours)
                adjacentJunctions += graph.degree(neighbour, Graph::Total) >= 3;
        });
        EXPECT_EQ(result.summary.branchPoints, 1u);
        EXPECT_EQ(result.summary.endpoints, 3u);
        EXPECT_EQ(result.summary.cycles, 0);
        if (merge) {
            // What a plain degree count and a cycle basis of the file see.
            EXPECT_EQ(junctions, 1u);
            EXPECT_EQ(adjacentJunctions, 0u);
            EXPECT_TRUE(GraphUtils::isAcyclic(graph));
        }
    }
}

TEST(VesselGraphExtraction, CoordinatesKeepTheWorldPlacement) {
    const std::shared_ptr<SharedImage> mask = vessel(PixelType::UInt8);
    std::vector<Eigen::Vector3d> world[3];
    for (int frame : {0, 1, 2}) {
        const JobRun result = run(mask, [&](auto& job) {
            job.coordinates = static_cast<VesselGraphExtractionAlgorithm::Coordinates>(frame);
        });
        ASSERT_EQ(result.status, Algorithm::Success);
        const Eigen::Matrix4d toWorld = result.graph->matrixToWorld();
        result.graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
            world[frame].push_back((toWorld * node.position.homogeneous()).head<3>());
            if (frame == VesselGraphExtractionAlgorithm::RAS) { // RAS positions are LPS with x and y negated
                EXPECT_TRUE(node.position.isApprox(world[frame].back().cwiseProduct(Eigen::Vector3d(-1, -1, 1))));
            }
        });
    }
    for (int frame : {1, 2}) {
        ASSERT_EQ(world[frame].size(), world[0].size());
        for (std::size_t i = 0; i < world[0].size(); ++i)
            EXPECT_TRUE(world[frame][i].isApprox(world[0][i], 1e-9));
    }
}

// A RAS GraphML file names its frame, and reading it back places the nodes in the LPS world again; a file
// without the marker (LPS, and every file written before it) reads as before.
TEST(VesselGraphExtraction, RasGraphMLNamesItsFrameAndReadsBackInTheWorld) {
    const std::shared_ptr<SharedImage> mask = vessel(PixelType::UInt8);
    std::vector<Eigen::Vector3d> world[2];
    for (const auto frame : {VesselGraphExtractionAlgorithm::LPS, VesselGraphExtractionAlgorithm::RAS}) {
        const JobRun result = run(mask, [&](auto& job) { job.coordinates = frame; });
        ASSERT_EQ(result.status, Algorithm::Success);
        std::stringstream text;
        ASSERT_TRUE(GraphMLWriter::write(*result.graph, true, text));
        EXPECT_EQ(text.str().find("coordinateFrame") != std::string::npos,
                  frame == VesselGraphExtractionAlgorithm::RAS);
        const std::unique_ptr<Graph> read = GraphMLReader::read(text);
        ASSERT_TRUE(read);
        read->forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
            world[frame - 1].push_back((read->matrixToWorld() * node.position.homogeneous()).head<3>());
        });
    }
    ASSERT_EQ(world[0].size(), world[1].size());
    for (std::size_t i = 0; i < world[0].size(); ++i)
        EXPECT_TRUE(world[1][i].isApprox(world[0][i], 1e-9));
}

TEST(WorkingGrid, ThickAxesAreRefinedOverTheSameExtentAndOversizedGridsRefused) {
    const ImageDescriptor thick(PixelType::UInt8, {100, 80, 20}, 1, {0.5, 0.5, 2.5});
    const WorkingGrid refined = chooseWorkingGrid(thick, 0.5);
    EXPECT_TRUE(refined.upsampled);
    EXPECT_EQ(refined.dimensions, Eigen::Vector3i(100, 80, 100));
    EXPECT_TRUE(refined.spacing.isApprox(Eigen::Vector3d(0.5, 0.5, 0.5)));
    EXPECT_FALSE(chooseWorkingGrid(thick, 2.5).upsampled);
    const WorkingGrid planar = chooseWorkingGrid(ImageDescriptor(PixelType::UInt8, {10, 10, 1}, 1, {1, 2, 5}), 1.0);
    EXPECT_EQ(planar.dimensions, Eigen::Vector3i(10, 20, 1));
    const WorkingGrid huge =
        chooseWorkingGrid(ImageDescriptor(PixelType::UInt8, {2000, 2000, 400}, 1, {0.3, 0.3, 3}), 0.3);
    EXPECT_NE(huge.error.find("--working-spacing"), std::string::npos) << huge.error;
}

// A vessel crossing thick slices at an angle: between the slices its cross-section moves along the true
// axis, where nearest-slice upsampling would step (up to half the shift per slice, 0.6 mm here, off).
TEST(WorkingGrid, ShapeBasedUpsamplingFollowsAnObliqueVesselBetweenSlices) {
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::UInt8, {40, 40, 10}, 1, {0.5, 0.5, 2.5}),
                                     Eigen::Matrix4d::Identity());
    const Eigen::Vector3d a(-4, -4, -12), b(4, 4, 12);
    const auto mask = Tarnwick::Test::tubeLabelImage({{a, b, 1.5}}, frame);
    const WorkingGrid grid = chooseWorkingGrid(mask->descriptor(), 0.5);
    ASSERT_EQ(grid.dimensions, Eigen::Vector3i(40, 40, 50));
    const auto fine = upsampleMask(*mask, grid);
    const auto& values = static_cast<const TypedImage<unsigned char>&>(*fine->mem());
    double worst = 0.0;
    for (int z = 5; z < 45; ++z) { // away from the volume's ends
        Eigen::Vector2d sum = Eigen::Vector2d::Zero();
        int count = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                if (values.value(x, y, z)) {
                    sum += Eigen::Vector2d(x - 19.5, y - 19.5) * 0.5;
                    ++count;
                }
        ASSERT_GT(count, 0) << "slice " << z;
        const double zMm = (z - 24.5) * 0.5;
        const Eigen::Vector2d axis = (a + (zMm - a.z()) / (b.z() - a.z()) * (b - a)).head<2>();
        worst = std::max(worst, (sum / count - axis).norm());
    }
    EXPECT_LT(worst, 0.3);
}

TEST(MaskDiameterMeasurement, RefusesMasksThatAreNotUnsigned8Bit) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    const LogCapture log;
    EXPECT_FALSE(measureVesselDiameters(graph, *vessel(PixelType::Int16)));
    EXPECT_EQ(log.errors().size(), 1u);
}

} // namespace
} // namespace Tarnwick
