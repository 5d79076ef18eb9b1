// tarnwick-cli run with the graph plug-in's feature, diameter, partitioning, combining and pruning
// algorithms, on small GraphML and NIfTI files.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <regex>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::readFile;

/// The values of one GraphML data key, in file order.
std::vector<double> dataValues(const std::string& text, const std::string& key) {
    std::vector<double> values;
    const std::regex pattern("<data key=\"" + key + "\">([^<]*)</data>");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), pattern); it != std::sregex_iterator(); ++it)
        values.push_back(std::stod((*it)[1].str()));
    return values;
}

/// A centerline along z at x = y = 8 from z = 2 to 13 with a spur of length 1 at z = 7, and a separate
/// pair of nodes far away.
std::string centerlineGraphML() {
    std::string nodes, edges;
    auto node = [&](int id, double x, double y, double z) {
        nodes += "<node id=\"n" + std::to_string(id) + "\"><data key=\"x\">" + std::to_string(x) +
                 "</data><data key=\"y\">" + std::to_string(y) + "</data><data key=\"z\">" + std::to_string(z) +
                 "</data></node>\n";
    };
    auto edge = [&](int a, int b) {
        edges += "<edge source=\"n" + std::to_string(a) + "\" target=\"n" + std::to_string(b) + "\"/>\n";
    };
    for (int z = 2; z <= 13; ++z) {
        node(z, 8, 8, z);
        if (z > 2)
            edge(z - 1, z);
    }
    node(20, 8, 9, 7);
    edge(7, 20);
    node(30, 40, 40, 40);
    node(31, 41, 40, 40);
    edge(30, 31);
    return R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="x" for="node" attr.name="x" attr.type="double"/>
  <key id="y" for="node" attr.name="y" attr.type="double"/>
  <key id="z" for="node" attr.name="z" attr.type="double"/>
  <graph id="G" edgedefault="undirected">
)" + nodes +
           edges + "  </graph>\n</graphml>\n";
}

class CliFeaturesPartitionPrune : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(m_graph) << centerlineGraphML();
        // A tube of radius 3 around the centerline, as labels and as distance to its wall; the images are
        // placed so that world coordinates equal voxel indices.
        auto labels = Tarnwick::TypedImage<unsigned char>::create(
            Tarnwick::ImageDescriptor(Tarnwick::PixelType::UInt8, {16, 16, 16}));
        auto distance =
            Tarnwick::TypedImage<float>::create(Tarnwick::ImageDescriptor(Tarnwick::PixelType::Float, {16, 16, 16}));
        for (int z = 0; z < 16; ++z)
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) {
                    const double r = std::hypot(x - 8.0, y - 8.0);
                    labels->setValue(x, y, z, r <= 3.0 ? 1 : 0);
                    distance->setValue(x, y, z, static_cast<float>(std::max(0.0, 3.0 - r)));
                }
        Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
        placement.topRightCorner<3, 1>() = Eigen::Vector3d::Constant(7.5);
        using Tarnwick::SharedImage;
        using Tarnwick::SharedImageSet;
        ASSERT_TRUE(Tarnwick::ImageFileIO::save(SharedImageSet(std::make_shared<SharedImage>(
                                                    std::shared_ptr<Tarnwick::MemImage>(std::move(labels)), placement)),
                                                m_labels));
        ASSERT_TRUE(
            Tarnwick::ImageFileIO::save(SharedImageSet(std::make_shared<SharedImage>(
                                            std::shared_ptr<Tarnwick::MemImage>(std::move(distance)), placement)),
                                        m_distance));
    }

    CliResult cli(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
        return Tarnwick::Test::runCli(arguments);
    }

    Tarnwick::Test::TempDir m_dir;
    const std::string m_graph = m_dir.file("centerline.graphml");
    const std::string m_labels = m_dir.file("labels.nii.gz");
    const std::string m_distance = m_dir.file("distance.nii.gz");
};

TEST_F(CliFeaturesPartitionPrune, ComputesLengthsAndDiametersInPlace) {
    const std::string out = m_dir.file("features.graphml");
    const CliResult lengths = cli({"run", "ComputeFeatures", m_graph, "--set", "mode=EdgeLength", "-o", out});
    ASSERT_EQ(lengths.exitCode, 0) << lengths.err;
    const std::vector<double> lengthValues = dataValues(readFile(out), "length");
    ASSERT_EQ(lengthValues.size(), 13u);
    EXPECT_TRUE(std::all_of(lengthValues.begin(), lengthValues.end(), [](double v) { return v == 1.0; }));

    for (const std::string mode : {"Diameter", "VesselDiameter"}) {
        const CliResult diameters =
            cli({"run", "ComputeFeatures", m_graph, m_labels, "--set", "mode=" + mode, "-o", out});
        ASSERT_EQ(diameters.exitCode, 0) << diameters.err;
        std::vector<double> values = dataValues(readFile(out), "diameter");
        ASSERT_EQ(values.size(), 13u) << mode;
        std::nth_element(values.begin(), values.begin() + 6, values.end());
        EXPECT_GT(values[6], 4.0) << mode;
        EXPECT_LT(values[6], 7.0) << mode;
    }

    const CliResult noLabels = cli({"run", "ComputeFeatures", m_graph, "--set", "mode=Diameter"});
    EXPECT_NE(noLabels.exitCode, 0);
    EXPECT_TRUE(contains(noLabels.err, "Label not set.")) << noLabels.err;
}

TEST_F(CliFeaturesPartitionPrune, PartitionsAndCombinesGraphs) {
    const std::string large = m_dir.file("large.graphml"), small = m_dir.file("small.graphml");
    const CliResult parts = cli({"run", "PartitionGraphs", m_graph, "-o", large, "-o", small});
    ASSERT_EQ(parts.exitCode, 0) << parts.err;
    EXPECT_TRUE(contains(parts.out, "Output 1: Graph with 13 nodes and 12 edges\n")) << parts.out;
    EXPECT_TRUE(contains(parts.out, "Output 2: Graph with 2 nodes and 1 edges\n")) << parts.out;

    const CliResult filtered = cli({"run", "PartitionGraphs", m_graph, "--set", "minComponentSize=3"});
    ASSERT_EQ(filtered.exitCode, 0) << filtered.err;
    EXPECT_FALSE(contains(filtered.out, "Output 2:")) << filtered.out;

    const std::string combined = m_dir.file("combined.graphml");
    const CliResult combine = cli({"run", "CombineGraphs", small, large, "-o", combined});
    ASSERT_EQ(combine.exitCode, 0) << combine.err;
    EXPECT_TRUE(contains(combine.out, "Output 1: Graph with 15 nodes and 13 edges\n")) << combine.out;
    EXPECT_EQ(dataValues(readFile(combined), "x").front(), 40.0) << "the first input's nodes come first";
}

TEST_F(CliFeaturesPartitionPrune, PrunesSpursByLengthOrByDistance) {
    const std::string out = m_dir.file("pruned.graphml");
    const CliResult byLength = cli({"run", "PruneTerminalPaths", m_graph, "--set", "pruningThreshold=1.5", "-o", out});
    ASSERT_EQ(byLength.exitCode, 0) << byLength.err;
    // The spur and the separate pair (an isolated chain of length 1) go; the centerline stays.
    EXPECT_TRUE(contains(byLength.out, "Output 1: Graph with 12 nodes and 11 edges\n")) << byLength.out;

    const CliResult byDistance = cli({"run", "PruneTerminalPaths", m_graph, m_distance, "-o", out});
    ASSERT_EQ(byDistance.exitCode, 0) << byDistance.err;
    EXPECT_TRUE(contains(byDistance.out, "Output 1: Graph with 14 nodes and 12 edges\n")) << byDistance.out;
    const std::vector<double> ys = dataValues(readFile(out), "y");
    EXPECT_EQ(std::count(ys.begin(), ys.end(), 9.0), 0) << "the spur inside the tube is removed";

    const CliResult wrongType = cli({"run", "PruneTerminalPaths", m_graph, m_labels});
    EXPECT_NE(wrongType.exitCode, 0);
    EXPECT_TRUE(contains(wrongType.err, "No valid distance image: require PixelType::Float.")) << wrongType.err;
}

} // namespace
