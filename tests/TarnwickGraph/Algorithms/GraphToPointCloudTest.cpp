#include <TarnwickGraph/Algorithms/GraphToPointCloudAlgorithm.h>

#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickLib/Data/PointCloud.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace Tarnwick;

TEST(GraphToPointCloud, OneCloudPerGraphInSelectionOrder) {
    // Many graphs of different sizes, so the parallel loop's threads finish in varying order.
    std::vector<std::unique_ptr<Graph>> graphs;
    DataList selection;
    SharedImageSet ignored;
    selection.add(&ignored);
    for (int i = 0; i < 40; ++i) {
        graphs.push_back(i == 3
                             ? std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D)
                             : Tarnwick::Test::makeRandomGraph(1 + (i * 37) % 200, 5, static_cast<std::uint32_t>(i)));
        graphs.back()->setName("vessel " + std::to_string(i));
        Eigen::Matrix4d shifted = Eigen::Matrix4d::Identity();
        shifted(0, 3) = 5.0;
        graphs.back()->setMatrixToWorld(shifted); // not applied to the points
        selection.add(graphs.back().get());
    }
    Algorithm* created = nullptr;
    ASSERT_TRUE(GraphToPointCloudAlgorithm::createCompatible(selection, &created));
    std::unique_ptr<Algorithm> algorithm(created);

    for (int run = 0; run < 2; ++run) { // a second run replaces the first run's clouds
        algorithm->compute();
        ASSERT_EQ(algorithm->status(), Algorithm::Success);
        ASSERT_EQ(algorithm->output().size(), graphs.size());
    }
    OwningDataList output = algorithm->takeOutput();
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        auto* cloud = dynamic_cast<PointCloud*>(output.get(i));
        ASSERT_NE(cloud, nullptr);
        EXPECT_EQ(cloud->name(), "vessel " + std::to_string(i) + " Point Cloud");
        EXPECT_EQ(cloud->points(), Tarnwick::Test::positions(*graphs[i]));
        EXPECT_FALSE(cloud->hasNormals());
        EXPECT_FALSE(cloud->hasColors());
    }
    EXPECT_TRUE(algorithm->output().empty());
}

TEST(GraphToPointCloud, RejectsEmptyOrBrokenLists) {
    Tarnwick::Test::LogCapture log;
    GraphToPointCloudAlgorithm none({});
    none.compute();
    EXPECT_EQ(none.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(none.output().empty());

    Graph graph(Graph::Undirected, Graph::Dim3D);
    GraphToPointCloudAlgorithm withNull({&graph, nullptr});
    withNull.compute();
    EXPECT_EQ(withNull.status(), Algorithm::InvalidInput);
    EXPECT_FALSE(log.errors().empty());
}
