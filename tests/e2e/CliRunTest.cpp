// tarnwick-cli info and run (single algorithms and workspaces) with the graph plug-in and the test
// plug-ins, on small files.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::readFile;
using Tarnwick::Test::runCli;

const std::string smallTree = TARNWICK_SOURCE_DIR "/tests/data/graphml/small-tree.graphml";

/// Runs with the graph plug-in first, then the test plug-ins (whose algorithm "Greeting" takes
/// parameters of several types), and nothing from the default folder.
CliResult cli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(),
                     {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR, "--plugin-dir", TEST_PLUGIN_DIR});
    return runCli(arguments);
}

class CliRun : public testing::Test {
protected:
    Tarnwick::Test::TempDir m_dir;
};

TEST_F(CliRun, InfoDescribesGraphs) {
    const CliResult result = cli({"info", smallTree});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* line :
         {"small-tree.graphml: 1 data set\n", "[1] 'Graph': Graph with 3 nodes and 2 edges\n", "    Type: Undirected\n",
          "    Dimension: 3D\n", "    Nodes: 3\n", "    Edges: 2\n", "    Node feature 'degree': 1 to 2 (default 0)\n",
          "    Edge feature 'diameter': 2 to 3.5 (default 0)\n",
          "    Edge feature 'length': 5.59017 to 10 (default 0)\n",
          "    Bounds (world, mm): (0, 0, -2.5) to (10, 5, 0)\n"})
        EXPECT_TRUE(contains(result.out, line)) << line << "\nin:\n" << result.out;
}

TEST_F(CliRun, InfoDescribesImages) {
    using namespace Tarnwick;
    auto values = TypedImage<unsigned char>::zeros(Eigen::Vector3i(4, 3, 2));
    values->setSpacing(Eigen::Vector3d(0.5, 0.5, 2.0));
    values->setValue(3, 2, 1, 7);
    SharedImageSet images(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(values))), "vessels");
    ASSERT_TRUE(ImageFileIO::save(images, m_dir.file("vessels.nii.gz")));

    const CliResult result = cli({"info", m_dir.file("vessels.nii.gz")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* line : {"    Image 1: 4 x 3 x 2, 1 channel, uint8\n", "      Spacing (mm): 0.5, 0.5, 2\n",
                             "      Origin (mm, centre of the first voxel): -0.75, -0.5, -1\n",
                             "      Direction (rows): [1, 0, 0; 0, 1, 0; 0, 0, 1]\n", "      Value range: 0 to 7\n",
                             "    Bounds (world, mm): (-1, -0.75, -2) to (1, 0.75, 2)\n"})
        EXPECT_TRUE(contains(result.out, line)) << line << "\nin:\n" << result.out;
}

TEST_F(CliRun, InfoFailsClearlyOnFilesItCannotRead) {
    std::ofstream(m_dir.file("notes.xyz")) << "text";
    std::ofstream(m_dir.file("broken.graphml")) << "<graphml><graph>";
    struct Case {
        std::string path, reason;
    };
    const Case cases[] = {
        {m_dir.file("missing.graphml"), "no such file"},
        {m_dir.file("notes.xyz"), "no reader for '.xyz' files (known: .tnw, "},
        {m_dir.file("broken.graphml"), "Could not parse GraphML input: "},
    };
    for (const Case& c : cases) {
        const CliResult result = cli({"info", c.path});
        EXPECT_EQ(result.exitCode, 1) << c.path;
        EXPECT_TRUE(contains(result.err, c.reason)) << c.path << ": " << result.err;
    }
}

TEST_F(CliRun, GraphsTravelBetweenFormats) {
    const std::string tnw = m_dir.file("tree.tnw");
    const CliResult load = cli({"run", "GraphMLIo", "--set", "location=" + smallTree, "-o", tnw});
    ASSERT_EQ(load.exitCode, 0) << load.err;
    EXPECT_TRUE(contains(load.out, "GraphMLIo: status 0 (success) in ")) << load.out;
    EXPECT_TRUE(contains(load.out, "Output 1: Graph with 3 nodes and 2 edges\n")) << load.out;
    EXPECT_TRUE(contains(load.out, "Saved " + tnw + ": Graph with 3 nodes and 2 edges\n")) << load.out;

    // The saver edits nothing and outputs nothing, so -o takes its input.
    const std::string graphml = m_dir.file("tree.graphml");
    const std::string copy = m_dir.file("copy.tnw");
    const CliResult save = cli({"run", "GraphMLIo", tnw, "--set", "location=" + graphml, "-o", copy});
    ASSERT_EQ(save.exitCode, 0) << save.err;
    EXPECT_EQ(readFile(graphml), readFile(smallTree));
    EXPECT_EQ(readFile(copy), readFile(tnw));

    // An output folder that does not exist stops the run before it reports anything as done.
    const std::string lost = m_dir.file("missing/tree.tnw");
    const CliResult refused = cli({"run", "GraphMLIo", "--set", "location=" + smallTree, "-o", lost});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_FALSE(contains(refused.out, "status 0 (success)")) << refused.out;
    EXPECT_TRUE(
        contains(refused.err, "Cannot save '" + lost + "': the folder '" + m_dir.file("missing") + "' does not exist"))
        << refused.err;
}

TEST_F(CliRun, ParametersAreCheckedAndOutputsSaved) {
    const std::string out = m_dir.file("greetings.tnw");
    const CliResult ok = cli({"run", "Greeting", "--set", "repeat=2", "--set", "volume=Loud", "-o", out});
    ASSERT_EQ(ok.exitCode, 0) << ok.err;
    EXPECT_TRUE(contains(ok.out, "Output 2: Data 'hello'\n")) << ok.out;
    EXPECT_TRUE(std::filesystem::exists(out));

    struct Case {
        std::vector<std::string> arguments;
        std::string reason;
    };
    const std::vector<Case> cases{
        {{"run", "Greeting", "--set", "colour=red"},
         "Greeting has no parameter 'colour'; its parameters are: greeting, repeat, volume"},
        {{"run", "Greeting", "--set", "volume=Medium"}, "volume"},
        {{"run", "Greeting", "--set", "repeat=0"}, "repeat"},
        {{"run", "Greeting", "--set", "repeat=two"}, "repeat"},
        {{"run", "Greeting", "--set", "repeat"}, "--set expects name=value, got 'repeat'"},
        {{"run", "Frobnicate"}, "Unknown algorithm 'Frobnicate'"},
        {{"run", "GraphMLIo", smallTree, smallTree}, "GraphMLIo (IO;Graph (graphml)) does not accept these inputs:"},
        {{"run", "Greeting", "-o", m_dir.file("a.tnw"), "-o", m_dir.file("b.tnw")},
         "2 output paths given but only 1 data sets to save"},
    };
    for (const Case& c : cases) {
        const CliResult result = cli(c.arguments);
        const std::string shown = testing::PrintToString(c.arguments);
        EXPECT_NE(result.exitCode, 0) << shown;
        EXPECT_TRUE(contains(result.err, c.reason)) << shown << ": " << result.err;
    }
    EXPECT_EQ(cli({"run", "Frobnicate"}).exitCode, 2);
    EXPECT_EQ(cli({"run", "GraphMLIo", m_dir.file("missing.graphml")}).exitCode, 1);
    EXPECT_EQ(cli({"run", "GraphMLIo", "--set", "location=" + m_dir.file("missing.graphml")}).exitCode, 1);
}

TEST_F(CliRun, WorkspacesRunAPipelineFromOneFile) {
    const std::string plain = m_dir.file("plain.graphml");
    std::ofstream(m_dir.file("pipeline.tws")) << R"({
        "tarnwickWorkspace": 1,
        "data": [{"name": "tree", "file": ")" + smallTree +
                                                     R"("}],
        "steps": [
            {"algorithm": "GraphMLIo", "inputs": ["tree"],
             "parameters": {"location": ")" + plain + R"(", "exportFeatures": false}},
            {"algorithm": "Greeting", "parameters": {"repeat": 2, "greeting": "hi"}, "outputs": ["first", "second"]}
        ],
        "save": [{"name": "tree", "file": "results/tree.tnw"}, {"name": "second", "file": "second.tnw"}]
    })";
    // The folder "results" does not exist yet: the run makes it before the first step.
    const CliResult result = cli({"run", m_dir.file("pipeline.tws")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "Step 1 of 2: GraphMLIo\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "Step 2 of 2: Greeting\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "Workspace " + m_dir.file("pipeline.tws") + " finished after ")) << result.out;
    EXPECT_TRUE(std::filesystem::exists(m_dir.file("results/tree.tnw")));
    EXPECT_TRUE(std::filesystem::exists(m_dir.file("second.tnw")));
    EXPECT_FALSE(contains(readFile(plain), "diameter"));

    const CliResult info = cli({"info", m_dir.file("results/tree.tnw")});
    EXPECT_TRUE(contains(info.out, "Graph with 3 nodes and 2 edges")) << info.out << info.err;
}

TEST_F(CliRun, BrokenWorkspacesStopWithAReason) {
    struct Case {
        std::string text, reason;
        int exitCode;
    };
    const std::vector<Case> cases{
        {"{", "not valid JSON", 2},
        {R"({"tarnwickWorkspace": 1, "steps": [{"algorithm": "Frobnicate"}]})",
         "steps[0] names the unknown algorithm 'Frobnicate'", 2},
        {R"({"tarnwickWorkspace": 1, "steps": [{"algorithm": "Greeting", "parameters": {"repeat": "many"}}]})",
         "repeat", 2},
        {R"({"tarnwickWorkspace": 1, "data": [{"name": "a", "file": "absent.graphml"}]})", "no such file", 1},
        {R"({"tarnwickWorkspace": 1, "steps": [{"algorithm": "Greeting", "outputs": ["a", "b"]}]})",
         "steps[0]: Greeting produced 1 data sets but 2 output names are given", 1},
    };
    for (const Case& c : cases) {
        std::ofstream(m_dir.file("broken.tws")) << c.text;
        const CliResult result = cli({"run", m_dir.file("broken.tws")});
        EXPECT_EQ(result.exitCode, c.exitCode) << c.text;
        EXPECT_TRUE(contains(result.err, c.reason)) << c.text << ": " << result.err;
    }
    EXPECT_EQ(cli({"run", m_dir.file("broken.tws"), "extra.graphml"}).exitCode, 2);
}

} // namespace
