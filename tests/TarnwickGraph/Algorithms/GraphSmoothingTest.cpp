#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "../TubeMask.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Algorithms/BogackiShampineIntegrator.h>
#include <TarnwickGraph/Algorithms/DistanceWeightedCurveShortening.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

std::map<unsigned long, Eigen::Vector3d> positionsById(const Graph& graph) {
    std::map<unsigned long, Eigen::Vector3d> result;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { result[id] = node.position; });
    return result;
}

/// A float image of the inside distance (mm) to a tube of radius `radius` around the x axis from -15 to
/// 15 mm, spacing 0.5, centred on the origin.
std::shared_ptr<SharedImage> tubeDistance(double radius) {
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::Float, {61, 25, 25}, 1, Eigen::Vector3d::Constant(0.5)),
                                     Eigen::Matrix4d::Identity());
    return Tarnwick::Test::tubeDistanceImage({{{-15, 0, 0}, {15, 0, 0}, radius}}, frame);
}

void runMode(Graph& graph, GraphSmoothingAlgorithm::Mode mode, double strength, bool preserve, int times = 1) {
    GraphSmoothingAlgorithm algorithm(graph, nullptr);
    algorithm.mode = mode;
    algorithm.smoothingStrength = strength;
    algorithm.preserveTerminalEdges = preserve;
    for (int i = 0; i < times; ++i) {
        algorithm.compute();
        ASSERT_EQ(algorithm.status(), Algorithm::Success);
    }
}

} // namespace

TEST(GraphSmoothing, StraightEvenChainIsAFixedPointOfTheNeighbourAverage) {
    std::vector<Eigen::Vector3d> points;
    for (int i = 0; i < 12; ++i)
        points.push_back(Eigen::Vector3d(1, 2, 3) + i * Eigen::Vector3d(0.3, -0.4, 1.2));
    auto chain = Tarnwick::Test::makeChain(points);
    GraphSmoothingAlgorithm::neighborhoodSmoothing(*chain, 1.5, false);
    const auto after = Tarnwick::Test::positions(*chain);
    for (std::size_t i = 1; i + 1 < points.size(); ++i)
        EXPECT_TRUE(after[i].isApprox(points[i], 1e-12)) << i;

    // A bent end moves toward the straight continuation of its neighbours; a preserved one does not.
    points.back() += Eigen::Vector3d(2, 0, 0);
    for (bool preserve : {true, false}) {
        auto bent = Tarnwick::Test::makeChain(points);
        GraphSmoothingAlgorithm::neighborhoodSmoothing(*bent, 1.5, preserve);
        const Eigen::Vector3d end = Tarnwick::Test::positions(*bent).back();
        if (preserve)
            EXPECT_EQ(end, points.back());
        else
            EXPECT_LT(end.x(), points.back().x());
    }
}

TEST(GraphSmoothing, NodesThatMustNotMoveStayPut) {
    // Star: centre 1 with leaves 2, 3, 4, plus the isolated node 5. A leaf next to a branching node has
    // no continuation and stays put even without preservation.
    auto star = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (const Eigen::Vector3d& p : {Eigen::Vector3d(0, 0, 0), Eigen::Vector3d(1, 0.2, 0), Eigen::Vector3d(-1, 0.5, 0),
                                     Eigen::Vector3d(0, 1, 0.3), Eigen::Vector3d(5, 5, 5)})
        star->addNode(Graph::NodeInfo(p, {}));
    for (unsigned long leaf : {2, 3, 4})
        star->addEdge(1, leaf, Graph::EdgeInfo{});
    const auto before = positionsById(*star);
    GraphSmoothingAlgorithm::neighborhoodSmoothing(*star, 2.0, false);
    auto after = positionsById(*star);
    for (unsigned long id : {2, 3, 4, 5})
        EXPECT_EQ(after[id], before.at(id)) << id;
    EXPECT_NE(after[1], before.at(1));

    GraphSmoothingAlgorithm::heatKernelSmoothing(*star, 2.0, false);
    EXPECT_EQ(positionsById(*star)[5], before.at(5));
}

TEST(GraphSmoothing, HeatKernelSolvesTheImplicitStep) {
    // Two nodes 1 apart, sigma 1: the weight is w = exp(-1/2) and (I + sigma^2 / 2 (D - W)) x' = x keeps
    // the mean and scales the difference by 1 / (1 + w).
    auto pair = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    ASSERT_TRUE(GraphSmoothingAlgorithm::heatKernelSmoothing(*pair, 1.0, false));
    const double half = 0.5 / (1.0 + std::exp(-0.5));
    const auto after = Tarnwick::Test::positions(*pair);
    EXPECT_NEAR(after[0].x(), 0.5 - half, 1e-12);
    EXPECT_NEAR(after[1].x(), 0.5 + half, 1e-12);

    // A path 0 - 1 - 3 with fixed ends: the middle node solves (1 + (a + b) / 2) x = 1 + (a * 0 + b * 3) / 2
    // with a = exp(-1/2), b = exp(-2).
    auto path = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}, {3, 0, 0}});
    ASSERT_TRUE(GraphSmoothingAlgorithm::heatKernelSmoothing(*path, 1.0, true));
    const double a = std::exp(-0.5), b = std::exp(-2.0);
    EXPECT_NEAR(Tarnwick::Test::positions(*path)[1].x(), (1.0 + 1.5 * b) / (1.0 + 0.5 * (a + b)), 1e-12);
    EXPECT_EQ(Tarnwick::Test::positions(*path)[2].x(), 3.0);
}

TEST(GraphSmoothing, NoisyLinesGetStraighterAndShorter) {
    for (auto mode :
         {GraphSmoothingAlgorithm::NeighborhoodWeightedAverage, GraphSmoothingAlgorithm::LaplacianHeatKernel}) {
        const auto noisy = Tarnwick::Test::makeChain(Tarnwick::Test::noisyLine(61, 1.0, 0.4, 11));
        const double trueLength = 60.0;
        const double deviationBefore = Tarnwick::Test::rmsDistanceFromXAxis(*noisy);
        const double excessBefore = Tarnwick::Test::totalEdgeLength(*noisy) - trueLength;

        double previousDeviation = deviationBefore;
        for (double strength : {0.7, 1.5, 3.0}) {
            auto graph = noisy->clone();
            runMode(*graph, mode, strength, true, mode == GraphSmoothingAlgorithm::LaplacianHeatKernel ? 1 : 5);
            const double deviation = Tarnwick::Test::rmsDistanceFromXAxis(*graph);
            const double excess = Tarnwick::Test::totalEdgeLength(*graph) - trueLength;
            EXPECT_LT(deviation, previousDeviation) << "mode " << mode << " strength " << strength;
            EXPECT_LT(excess, excessBefore);
            EXPECT_GT(excess, -1e-9) << "a chain between fixed ends cannot get shorter than the straight line";
            previousDeviation = deviation;
        }
        EXPECT_LT(previousDeviation, 0.6 * deviationBefore);
    }
}

TEST(GraphSmoothing, FailuresAreReportedAndLeaveTheGraphUnchanged) {
    LogCapture log;
    auto graph = Tarnwick::Test::makeChain({{0, 0, 0}, {1, NAN, 0}, {2, 0, 0}, {3, 1, 0}});
    const auto before = Tarnwick::Test::positions(*graph);
    GraphSmoothingAlgorithm heat(*graph, nullptr);
    heat.mode = GraphSmoothingAlgorithm::LaplacianHeatKernel;
    heat.compute();
    EXPECT_EQ(heat.status(), Algorithm::Error);
    EXPECT_EQ(log.records().at(0).category, "GraphSmoothingAlgorithm.compute");
    const auto after = Tarnwick::Test::positions(*graph);
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_TRUE(after[i] == before[i] || (i == 1 && std::isnan(after[i].y())));
    EXPECT_EQ(after[2], before[2]);

    log.clear();
    auto chain = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    GraphSmoothingAlgorithm curve(*chain, nullptr);
    curve.mode = GraphSmoothingAlgorithm::DistanceWeightedCurveShortening;
    curve.compute();
    EXPECT_EQ(curve.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("DistanceWeightedCurveShortening requires a label image", Log::Error));

    log.clear();
    GraphSmoothingAlgorithm nanStrength(*chain, nullptr);
    nanStrength.smoothingStrength = NAN;
    nanStrength.compute();
    EXPECT_EQ(nanStrength.status(), Algorithm::InvalidInput);
    EXPECT_EQ(log.errors().size(), 1u);
}

TEST(CurveShortening, PullsANoisyCentrelineOntoTheTubeAxis) {
    const auto distance = tubeDistance(4.0);
    for (bool preserve : {true, false}) {
        auto points = Tarnwick::Test::noisyLine(41, 0.5, 1.2, 4); // x from 0 to 20, ends on the axis
        for (auto& p : points)
            p.x() -= 10.0;
        points.front().y() = 0.8; // an end off the axis
        auto graph = Tarnwick::Test::makeChain(points);
        const double before = Tarnwick::Test::rmsDistanceFromXAxis(*graph);
        ASSERT_TRUE(DistanceWeightedCurveShortening::evolve(*graph, *distance, preserve));
        const auto after = Tarnwick::Test::positions(*graph);
        double innerDeviation = 0.0;
        for (std::size_t i = 1; i + 1 < after.size(); ++i)
            innerDeviation = std::max(innerDeviation, after[i].tail<2>().norm());
        EXPECT_LT(innerDeviation, 0.25 * before) << "preserve " << preserve;
        if (preserve)
            EXPECT_EQ(after.front(), points.front());
        else
            EXPECT_LT(after.front().tail<2>().norm(), 0.5 * points.front().tail<2>().norm());
        EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));
    }
}

TEST(CurveShortening, TwoDimensionalGraphsStayInTheirPlane) {
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::Float, {61, 25, 1}, 1, {0.5, 0.5, 1.0}),
                                     Eigen::Matrix4d::Identity());
    const auto distance = Tarnwick::Test::tubeDistanceImage({{{-15, 0, 0}, {15, 0, 0}, 4.0}}, frame);
    auto points = Tarnwick::Test::noisyLine(41, 0.5, 1.2, 6);
    for (auto& p : points) {
        p.x() -= 10.0;
        p.z() = 0.0;
    }
    auto graph = Tarnwick::Test::makeChain(points);
    graph->setDimension(Graph::Dim2D);
    const double before = Tarnwick::Test::rmsDistanceFromXAxis(*graph);
    ASSERT_TRUE(DistanceWeightedCurveShortening::evolve(*graph, *distance, true));
    EXPECT_LT(Tarnwick::Test::rmsDistanceFromXAxis(*graph), 0.25 * before);
    for (const Eigen::Vector3d& p : Tarnwick::Test::positions(*graph))
        EXPECT_EQ(p.z(), 0.0);
}

TEST(BogackiShampine, AdaptiveIntegrationEndsExactlyAtTheEndTime) {
    const BogackiShampineIntegrator::Derivative rotation = [](double, const Eigen::MatrixX3d& x,
                                                              Eigen::MatrixX3d& dxdt) {
        dxdt.col(0) = -x.col(1);
        dxdt.col(1) = x.col(0);
        dxdt.col(2).setZero();
    };
    Eigen::MatrixX3d x(1, 3);
    x << 1.0, 0.0, 2.0;
    BogackiShampineIntegrator::Settings tight;
    tight.tolerance = 1e-8;
    const auto outcome = BogackiShampineIntegrator::integrate(rotation, 0.0, 10.0, x, tight);
    EXPECT_TRUE(outcome.reachedEnd);
    EXPECT_EQ(outcome.time, 10.0);
    EXPECT_NEAR(x(0, 0), std::cos(10.0), 1e-6);
    EXPECT_NEAR(x(0, 1), std::sin(10.0), 1e-6);
    EXPECT_EQ(x(0, 2), 2.0);

    // A step limit or a derivative that is not a number stops the integration early.
    BogackiShampineIntegrator::Settings few;
    few.maxSteps = 3;
    x << 1.0, 0.0, 0.0;
    EXPECT_FALSE(BogackiShampineIntegrator::integrate(rotation, 0.0, 10.0, x, few).reachedEnd);
    const BogackiShampineIntegrator::Derivative broken = [](double, const Eigen::MatrixX3d& x, Eigen::MatrixX3d& dxdt) {
        dxdt.setConstant(x.rows(), 3, NAN);
    };
    Eigen::MatrixX3d y = Eigen::MatrixX3d::Zero(1, 3);
    EXPECT_FALSE(BogackiShampineIntegrator::integrate(broken, 0.0, 1.0, y).reachedEnd);
    EXPECT_EQ(y, Eigen::MatrixX3d::Zero(1, 3));
}

TEST(GraphSmoothing, CurveShorteningInsideALabelImage) {
    SharedImageSet labels(Tarnwick::Test::tubeMask(PixelType::UInt8, Eigen::Matrix4d::Identity()));
    auto points = Tarnwick::Test::noisyLine(21, 0.2, 0.35, 8);
    for (auto& p : points)
        p.x() -= 2.0; // x from -2 to 2 mm, inside the 1 mm tube around the x axis
    auto graph = Tarnwick::Test::makeChain(points);
    const double before = Tarnwick::Test::rmsDistanceFromXAxis(*graph);

    Algorithm* created = nullptr;
    ASSERT_TRUE(GraphSmoothingAlgorithm::createCompatible(DataList{graph.get(), &labels}, &created));
    std::unique_ptr<Algorithm> algorithm(created);
    algorithm->compute();
    ASSERT_EQ(algorithm->status(), Algorithm::Success);
    EXPECT_LT(Tarnwick::Test::rmsDistanceFromXAxis(*graph), 0.5 * before);
    const auto after = Tarnwick::Test::positions(*graph);
    EXPECT_EQ(after.front(), points.front());
    EXPECT_EQ(after.back(), points.back());

    LogCapture log;
    SharedImageSet empty(Tarnwick::Test::tubeMask(PixelType::UInt8, Eigen::Matrix4d::Identity(), false));
    GraphSmoothingAlgorithm noForeground(*graph, &empty);
    noForeground.compute();
    EXPECT_EQ(noForeground.status(), Algorithm::Error);
    EXPECT_TRUE(log.contains("Could not resample label image", Log::Error));
    EXPECT_EQ(Tarnwick::Test::positions(*graph), after);
}
