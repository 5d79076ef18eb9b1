// tarnwick-cli run with the graph plug-in's smoothing, spanning tree, reindexing, feature, point cloud,
// image sampling and mesh transfer algorithms, on small files.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::readFile;

/// A square 1-2-3-4 with a tail 4-5 and the node feature "radius" (1, 2, 3, 4, 5); edge 1-2 is the
/// longest, so a spanning tree by edge length cuts one of the others.
const char* squareWithTail = R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="x" for="node" attr.name="x" attr.type="double"/>
  <key id="y" for="node" attr.name="y" attr.type="double"/>
  <key id="z" for="node" attr.name="z" attr.type="double"/>
  <key id="radius" for="node" attr.name="radius" attr.type="double"/>
  <key id="diameter" for="edge" attr.name="diameter" attr.type="double"/>
  <graph id="G" edgedefault="undirected">
    <node id="n1"><data key="x">0</data><data key="y">0</data><data key="z">0</data><data key="radius">1</data></node>
    <node id="n2"><data key="x">3</data><data key="y">0</data><data key="z">0</data><data key="radius">2</data></node>
    <node id="n3"><data key="x">3</data><data key="y">1</data><data key="z">0</data><data key="radius">3</data></node>
    <node id="n4"><data key="x">0</data><data key="y">1</data><data key="z">0</data><data key="radius">4</data></node>
    <node id="n5"><data key="x">0</data><data key="y">2.5</data><data key="z">0</data><data key="radius">5</data></node>
    <edge source="n1" target="n2"><data key="diameter">2</data></edge>
    <edge source="n2" target="n3"><data key="diameter">2</data></edge>
    <edge source="n3" target="n4"><data key="diameter">2</data></edge>
    <edge source="n4" target="n1"><data key="diameter">2</data></edge>
    <edge source="n4" target="n5"><data key="diameter">1</data></edge>
  </graph>
</graphml>
)";

class CliGraphAlgorithms : public testing::Test {
protected:
    void SetUp() override { std::ofstream(m_graph) << squareWithTail; }

    CliResult cli(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
        return Tarnwick::Test::runCli(arguments);
    }

    Tarnwick::Test::TempDir m_dir;
    const std::string m_graph = m_dir.file("square.graphml");
};

TEST_F(CliGraphAlgorithms, EditsGraphsInPlaceAndSavesThem) {
    const std::string out = m_dir.file("out.graphml");
    const CliResult feature = cli({"run", "NodeToEdgeFeature", m_graph, "--set", "nodeFeatureName=radius", "--set",
                                   "mode=Difference", "-o", out});
    ASSERT_EQ(feature.exitCode, 0) << feature.err;
    EXPECT_TRUE(contains(readFile(out), R"(attr.name="NodeFeatureDifference")"));

    const CliResult smooth = cli({"run", "GraphSmoothing", m_graph, "--set", "mode=LaplacianHeatKernel", "--set",
                                  "smoothingStrength=2", "-o", out});
    ASSERT_EQ(smooth.exitCode, 0) << smooth.err;
    EXPECT_TRUE(contains(readFile(out), R"(<data key="y">2.5</data>)")) << "the tail's leaf is preserved";
    EXPECT_FALSE(contains(readFile(out), R"(<data key="x">3</data>)")) << "the square's corners moved";

    const CliResult missing = cli({"run", "NodeToEdgeFeature", m_graph, "--set", "nodeFeatureName=width"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(contains(missing.err, "Selected node feature does not exist.")) << missing.err;
}

TEST_F(CliGraphAlgorithms, ProducesNewGraphsAndPointClouds) {
    const std::string tree = m_dir.file("tree.graphml");
    const CliResult mst = cli({"run", "MinimumSpanningTree", m_graph, "--set", "weightMode=EdgeLength", "-o", tree});
    ASSERT_EQ(mst.exitCode, 0) << mst.err;
    EXPECT_TRUE(contains(mst.out, "Output 1: Graph with 5 nodes and 4 edges\n")) << mst.out;
    EXPECT_TRUE(contains(readFile(tree), R"(attr.name="mstSortKey")"));

    const std::string renumbered = m_dir.file("renumbered.graphml");
    const CliResult reindex = cli({"run", "GraphReindexing", m_graph, "--set", "rootIndex=5", "-o", renumbered});
    ASSERT_EQ(reindex.exitCode, 0) << reindex.err;
    EXPECT_TRUE(contains(readFile(renumbered), R"(<data key="y">2.5</data>)"));

    const CliResult invalidRoot = cli({"run", "GraphReindexing", m_graph, "--set", "rootIndex=9"});
    EXPECT_EQ(invalidRoot.exitCode, 2) << "the root is bounded by the largest id";
    EXPECT_TRUE(contains(invalidRoot.err, "9 is above the maximum 5")) << invalidRoot.err;

    const CliResult cloud = cli({"run", "GraphToPointCloud", m_graph});
    ASSERT_EQ(cloud.exitCode, 0) << cloud.err;
    EXPECT_TRUE(contains(cloud.out, "Output 1:")) << cloud.out;
}

TEST_F(CliGraphAlgorithms, SamplesImagesAndPaintsMeshes) {
    using namespace Tarnwick;
    auto values = TypedImage<float>::create(ImageDescriptor(PixelType::Float, {8, 8, 8}, 1, {1.0, 1.0, 1.0}));
    std::fill(values->pointer(), values->pointer() + 512, 1.5f);
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(1.5, 1.5, 0.0);
    SharedImageSet image(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(values)), placement));
    const std::string volume = m_dir.file("radius.nii.gz");
    ASSERT_TRUE(ImageFileIO::save(image, volume));

    const std::string sampled = m_dir.file("sampled.graphml");
    const CliResult evaluate =
        cli({"run", "EvaluateGraphAtImage", m_graph, volume, "--set", "edgeFeatureName=sampled", "-o", sampled});
    ASSERT_EQ(evaluate.exitCode, 0) << evaluate.err;
    EXPECT_TRUE(contains(readFile(sampled), R"(<data key="sampled">3</data>)")) << readFile(sampled);

    // A label block around the square: the smoothing's default mode with a label image is the curve
    // shortening inside it.
    auto block = TypedImage<unsigned char>::zeros({16, 12, 8});
    for (int z = 2; z < 6; ++z)
        for (int y = 2; y < 10; ++y)
            for (int x = 2; x < 14; ++x)
                block->setValue(x, y, z, 1);
    block->setSpacing(Eigen::Vector3d::Constant(0.5));
    const std::string labels = m_dir.file("labels.nii.gz");
    ASSERT_TRUE(ImageFileIO::save(
        SharedImageSet(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(block)), placement)), labels));
    const CliResult curve = cli({"run", "GraphSmoothing", m_graph, labels, "-o", m_dir.file("curved.graphml")});
    ASSERT_EQ(curve.exitCode, 0) << curve.err;
    EXPECT_TRUE(contains(readFile(m_dir.file("curved.graphml")), R"(<data key="y">2.5</data>)")) << "leaves stay";

    const std::string mesh = m_dir.file("surface.ply");
    std::ofstream(mesh) << "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                           "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n"
                           "1.5 -0.5 0\n-0.4 3 0\n40 40 40\n3 0 1 2\n";
    const std::string painted = m_dir.file("painted.ply");
    const CliResult transfer = cli({"run", "TransferGraphFeatureToMeshAlgorithm", mesh, m_graph, "--set",
                                    "featureName=diameter", "--set", "maxDistance=5", "-o", painted});
    ASSERT_EQ(transfer.exitCode, 0) << transfer.err;
    const std::string text = readFile(painted);
    EXPECT_TRUE(contains(text, "property float diameter\n")) << text;
    EXPECT_TRUE(contains(text, "property uchar red\n")) << text;
    EXPECT_TRUE(contains(text, " 255 0 0 255 2\n")) << "vertex 0 is nearest to a thick edge: red\n" << text;
    EXPECT_TRUE(contains(text, " 0 0 255 255 1\n")) << "vertex 1 is nearest to the thin tail: blue\n" << text;
    EXPECT_TRUE(contains(text, " 128 128 128 255 nan\n")) << "vertex 2 is beyond maxDistance\n" << text;
}

} // namespace
