#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include "../../support/LogCapture.h"
#include "VesselPhantom.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>

namespace Tarnwick {
namespace {

using Algo = CenterlineGraphExtractionAlgorithm;

template <typename T>
std::shared_ptr<SharedImage> volume(const Eigen::Vector3i& dims, const std::vector<Eigen::Vector3i>& on, T value,
                                    const Eigen::Vector3d& spacing = Eigen::Vector3d::Ones()) {
    auto image = TypedImage<T>::create(ImageDescriptor(pixelTypeOf<T>(), dims, 1, spacing));
    std::fill(image->pointer(), image->pointer() + image->descriptor().numPixels(), T(0));
    for (const Eigen::Vector3i& p : on)
        image->setValue(p.x(), p.y(), p.z(), value);
    return std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(image)));
}

Eigen::Vector3d firstPosition(const Graph& graph) {
    Eigen::Vector3d position = Eigen::Vector3d::Constant(NAN);
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
        if (std::isnan(position.x()))
            position = node.position;
    });
    return position;
}

/// A straight tube of the given radius (voxels) along x through the middle of a 40 x 21 x 21 volume.
template <typename T>
std::shared_ptr<SharedImage> straightTube(T inside, double radius, const Eigen::Matrix4d& placement) {
    std::vector<Eigen::Vector3i> on;
    for (int z = 0; z < 21; ++z)
        for (int y = 0; y < 21; ++y)
            for (int x = 4; x < 36; ++x)
                if (std::hypot(y - 10, z - 10) <= radius)
                    on.emplace_back(x, y, z);
    auto image = volume<T>({40, 21, 21}, on, inside, Eigen::Vector3d(0.5, 0.5, 0.5));
    image->setMatrixToWorld(placement);
    return image;
}

TEST(CenterlineGraphExtraction, ParametersAreRegisteredInOrderWithTheirAttributes) {
    SharedImageSet set;
    Algo algorithm(set);
    std::vector<std::string> names;
    for (const ParameterBase* parameter : algorithm.parameters())
        names.push_back(parameter->name());
    EXPECT_EQ(names, (std::vector<std::string>{"mode", "labelProcessing", "minVesselDiameter", "minPixelResolution",
                                               "minComponentSize", "closeHolesSize", "graphSmoothing",
                                               "prunePathsSensitivity", "removeCycles", "addLabelID"}));
    EXPECT_EQ(algorithm.minPixelResolution.attribute("hidden"), "true");
    EXPECT_EQ(algorithm.closeHolesSize.value(), std::optional<int>(2));
    EXPECT_EQ(algorithm.closeHolesSize.attribute("min"), "1");
    EXPECT_EQ(algorithm.mode.attribute("values"), "Skeletonization");
}

TEST(CenterlineGraphExtraction, CompatibleOnlyWithOneSetOfOneImage) {
    SharedImageSet one(straightTube<std::uint8_t>(1, 3, Eigen::Matrix4d::Identity()));
    SharedImageSet two(straightTube<std::uint8_t>(1, 3, Eigen::Matrix4d::Identity()));
    two.add(straightTube<std::uint8_t>(1, 3, Eigen::Matrix4d::Identity()));
    Algorithm* created = nullptr;
    EXPECT_FALSE(Algo::createCompatible(DataList({&two}), nullptr));
    EXPECT_FALSE(Algo::createCompatible(DataList({&one, &one}), nullptr));
    EXPECT_FALSE(Algo::createCompatible(DataList(), nullptr));
    ASSERT_TRUE(Algo::createCompatible(DataList({&one}), &created));
    std::unique_ptr<Algorithm> owned(created);
    EXPECT_NE(dynamic_cast<Algo*>(owned.get()), nullptr);
}

TEST(CenterlineGraphExtraction, FailuresLogTheirMessageAndKeepTheErrorStatus) {
    Tarnwick::Test::LogCapture log;
    SharedImageSet empty;
    Algo onEmptySet(empty);
    onEmptySet.compute();
    EXPECT_EQ(onEmptySet.status(), Algorithm::Error);
    EXPECT_TRUE(log.contains("Empty input image set provided."));
    EXPECT_TRUE(onEmptySet.takeOutput().empty());

    // An all-zero mask gives an empty 2-D graph while the status stays at error.
    SharedImageSet zeros(volume<std::uint8_t>({8, 8, 1}, {}, 1));
    Algo onZeros(zeros);
    onZeros.compute();
    EXPECT_EQ(onZeros.status(), Algorithm::Error);
    EXPECT_TRUE(log.contains("Input label image is empty.", Log::Warning));
    OwningDataList output = onZeros.takeOutput();
    ASSERT_EQ(output.size(), 1u);
    const auto* graph = dynamic_cast<const Graph*>(output.get(0));
    ASSERT_NE(graph, nullptr);
    EXPECT_EQ(graph->numNodes(), 0u);
    EXPECT_EQ(graph->dimension(), Graph::Dim2D);
    EXPECT_TRUE(onZeros.takeOutput().empty());
}

TEST(CenterlineGraphExtraction, FloatMasksAreThresholdedAtOneHalfAndBytesUsedAsTheyAre) {
    // 0.4 is below the threshold: nothing to extract. A byte value of 7 is foreground.
    SharedImageSet faint(straightTube<float>(0.4f, 3, Eigen::Matrix4d::Identity()));
    Algo onFaint(faint);
    onFaint.compute();
    EXPECT_EQ(onFaint.status(), Algorithm::Error);

    SharedImageSet bright(straightTube<float>(0.6f, 3, Eigen::Matrix4d::Identity()));
    SharedImageSet bytes(straightTube<std::uint8_t>(7, 3, Eigen::Matrix4d::Identity()));
    for (SharedImageSet* set : {&bright, &bytes}) {
        Tarnwick::Test::LogCapture log;
        Algo algorithm(*set);
        algorithm.compute();
        ASSERT_EQ(algorithm.status(), Algorithm::Success);
        EXPECT_TRUE(log.contains("Resampling from 0.5 to 0.5"));
        EXPECT_GT(algorithm.result()->numNodes(), 10u);
        EXPECT_TRUE(GraphUtils::isAcyclic(*algorithm.result()));
    }
}

TEST(CenterlineGraphExtraction, NodesLieOnTheTubeAxisInWorldCoordinatesForAnyPlacement) {
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topLeftCorner<3, 3>() =
        (Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, 2, 3).normalized())).toRotationMatrix();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(-40.0, 12.5, 300.0);
    auto image = straightTube<std::uint8_t>(1, 4, placement);
    image->setSpacing(Eigen::Vector3d(0.4, 0.5, 0.9));
    SharedImageSet set(image);
    Algo algorithm(set);
    algorithm.graphSmoothing = 0.0;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    const Graph& graph = *algorithm.result();
    EXPECT_TRUE(graph.matrixToWorld().isApprox(placement));
    ASSERT_GT(graph.numNodes(), 5u);
    // The axis passes through pixels (x, 10, 10); map two of its points to world.
    const Eigen::Matrix4d pixelToWorld = image->pixelToWorldMatrix();
    const Eigen::Vector3d a = (pixelToWorld * Eigen::Vector4d(0, 10, 10, 1)).head<3>();
    const Eigen::Vector3d b = (pixelToWorld * Eigen::Vector4d(39, 10, 10, 1)).head<3>();
    const double tolerance = 0.9; // one working voxel (the coarsest spacing)
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
        const Eigen::Vector3d world = (graph.matrixToWorld() * node.position.homogeneous()).head<3>();
        const Eigen::Vector3d axis = (b - a).normalized();
        EXPECT_LT((world - a - axis * (world - a).dot(axis)).norm(), tolerance);
    });
}

TEST(CenterlineGraphExtraction, RawGraphLinksEveryAdjacentPairWithItsStepWeight) {
    // Voxels (1,1,1), (2,1,1) face, (3,2,1) edge from (2,1,1), (4,3,2) corner from (3,2,1).
    auto image = volume<std::uint16_t>({6, 5, 4}, {{1, 1, 1}, {2, 1, 1}, {3, 2, 1}, {4, 3, 2}}, 3);
    const Algo::RawGraph raw = Algo::skeletonAsRawGraph(*image, true);
    auto index = [](int x, int y, int z) { return x + 6 * (y + 5 * z); };
    ASSERT_EQ(raw.size(), 4u);
    EXPECT_EQ(raw.at(index(1, 1, 1)), (std::map<int, int>{{index(2, 1, 1), 1}}));
    EXPECT_EQ(raw.at(index(2, 1, 1)), (std::map<int, int>{{index(1, 1, 1), 1}, {index(3, 2, 1), 2}}));
    EXPECT_EQ(raw.at(index(4, 3, 2)), (std::map<int, int>{{index(3, 2, 1), 3}}));

    // Float skeletons count values above 0.5 only.
    auto faint = volume<float>({6, 5, 4}, {{1, 1, 1}, {2, 1, 1}}, 0.5f);
    EXPECT_TRUE(Algo::skeletonAsRawGraph(*faint, true).empty());

    const auto graph = Algo::rawSkeletonGraphToGraph(raw, image->descriptorWorld(), nullptr);
    EXPECT_EQ(graph->numNodes(), 4u);
    EXPECT_EQ(graph->numEdges(), 3u);
    // Pixel (1,1,1) of a 6 x 5 x 4 unit-spacing image sits at (-1.5, -1, -0.5) in image coordinates.
    EXPECT_TRUE(firstPosition(*graph).isApprox(Eigen::Vector3d(-1.5, -1.0, -0.5)));
}

TEST(CenterlineGraphExtraction, RawGraphDoesNotDependOnTheThreadCount) {
    VesselPhantom::Options options;
    options.size = 64;
    options.seed = 11;
    auto mask = VesselPhantom(options).mask();
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    const Algo::RawGraph serial = Algo::skeletonAsRawGraph(*mask, true);
    omp_set_num_threads(2);
    const Algo::RawGraph parallel = Algo::skeletonAsRawGraph(*mask, true);
    omp_set_num_threads(threads);
    EXPECT_GT(serial.size(), 1000u);
    EXPECT_EQ(serial, parallel);
    EXPECT_EQ(serial, Algo::skeletonAsRawGraph(*mask, false));
}

TEST(CenterlineGraphExtraction, PotentialImagesMustBeFloatAndPullNodesUphill) {
    const Algo::RawGraph raw{{0, {}}};
    auto frame = volume<std::uint8_t>({3, 3, 3}, {{0, 0, 0}}, 1);
    Tarnwick::Test::LogCapture log;
    auto notFloat = volume<std::uint8_t>({3, 3, 3}, {{1, 0, 0}}, 9);
    auto unmoved = Algo::rawSkeletonGraphToGraph(raw, frame->descriptorWorld(), notFloat.get());
    EXPECT_TRUE(log.contains("Expected potential image to be of type float"));
    EXPECT_TRUE(firstPosition(*unmoved).isApprox(Eigen::Vector3d(-1, -1, -1)));

    auto potential = volume<float>({3, 3, 3}, {{1, 0, 0}}, 2.0f);
    auto moved = Algo::rawSkeletonGraphToGraph(raw, frame->descriptorWorld(), potential.get());
    EXPECT_TRUE(firstPosition(*moved).isApprox(Eigen::Vector3d(-0.5, -1, -1)));
}

} // namespace
} // namespace Tarnwick
