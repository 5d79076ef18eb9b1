#include "IOTestGraphs.h"

#include "../GraphComparison.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <TarnwickCore/Progress.h>
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

namespace Tarnwick {
namespace {

using Test::LogCapture;
using Test::makeRichGraph;
using Test::sameContent;
using Test::TempDir;

/// Calls onEnd when a task ends.
struct EndRecorder : Progress {
    std::function<void()> onEnd;
    bool ended = false;
    void taskEnded(const Task&, int) override { onEnd(); }
};

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(GraphMLIoAlgorithm, SavesAndLoadsThroughCompute) {
    TempDir dir;
    auto graph = makeRichGraph(Graph::Directed, Graph::Dim3D);
    GraphMLIoAlgorithm saver(*graph);
    saver.setLocation(dir.file("tree.graphml"));
    saver.compute();
    EXPECT_EQ(saver.status(), Algorithm::Success);
    EXPECT_TRUE(saver.output().empty());

    GraphMLIoAlgorithm loader;
    loader.setLocation(dir.file("tree.graphml"));
    loader.compute();
    ASSERT_EQ(loader.status(), Algorithm::Success);
    ASSERT_EQ(loader.output().size(), 1u);
    EXPECT_TRUE(sameContent(*graph, dynamic_cast<const Graph&>(*loader.output().get(0))));

    // A second load replaces the first result.
    Properties settings;
    settings.setParam("exportFeatures", false);
    saver.configure(&settings);
    saver.setLocation(dir.file("plain.graphml"));
    saver.compute();
    loader.setLocation(dir.file("plain.graphml"));
    loader.compute();
    OwningDataList output = loader.takeOutput();
    ASSERT_EQ(output.size(), 1u);
    const auto& plain = dynamic_cast<const Graph&>(*output.get(0));
    EXPECT_TRUE(plain.nodeFeatureDescriptors().empty());
    EXPECT_TRUE(plain.edgeFeatureDescriptors().empty());
    EXPECT_EQ(plain.numEdges(), graph->numEdges());
    EXPECT_TRUE(loader.output().empty());
}

TEST(GraphMLIoAlgorithm, FailuresSetStatusOneAndName) {
    TempDir dir;
    LogCapture log;
    GraphMLIoAlgorithm loader;
    loader.setLocation(dir.file("missing.graphml"));
    loader.compute();
    EXPECT_EQ(loader.status(), Algorithm::Error);
    EXPECT_TRUE(loader.output().empty());
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{"Could not open " + dir.file("missing.graphml") + " for reading."});

    log.clear();
    std::ofstream(dir.file("text.graphml")) << "just text";
    loader.setLocation(dir.file("text.graphml"));
    loader.compute();
    EXPECT_EQ(loader.status(), Algorithm::Error);
    ASSERT_EQ(log.errors().size(), 1u);
    EXPECT_EQ(log.errors()[0].rfind("Could not parse GraphML input: ", 0), 0u);

    log.clear();
    auto graph = makeRichGraph(Graph::Undirected, Graph::Dim2D);
    GraphMLIoAlgorithm saver(*graph);
    const std::string unreachable = dir.file("no-such-folder/tree.graphml");
    saver.setLocation(unreachable);
    saver.compute();
    EXPECT_EQ(saver.status(), Algorithm::Error);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to open '" + unreachable + "'."});
}

TEST(GraphMLIoAlgorithm, AFailedSaveLeavesTheExistingFileAlone) {
    TempDir dir;
    auto graph = makeRichGraph(Graph::Undirected, Graph::Dim3D);
    GraphMLIoAlgorithm saver(*graph);
    saver.setLocation(dir.file("tree.graphml"));
    saver.compute();
    const std::string before = readFile(dir.file("tree.graphml"));

    // A folder in the way of the target makes the final replacement fail.
    std::filesystem::create_directory(dir.file("blocked.graphml"));
    std::ofstream(dir.file("blocked.graphml/keep.txt")) << "keep";
    LogCapture log;
    saver.setLocation(dir.file("blocked.graphml"));
    saver.compute();
    EXPECT_EQ(saver.status(), Algorithm::Error);
    ASSERT_EQ(log.errors().size(), 1u);
    EXPECT_EQ(log.errors()[0].rfind("Failed to write GraphML: ", 0), 0u) << log.errors()[0];
    EXPECT_EQ(readFile(dir.file("blocked.graphml/keep.txt")), "keep");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2) << "no temporary file left";

    // The progress task of a failed save ends only after the failure is reported, so that a progress
    // display never shows it done first.
    log.clear();
    EndRecorder progress;
    progress.onEnd = [&] { progress.ended = !log.errors().empty(); };
    EXPECT_FALSE(saver.saveToGraphML(*graph, dir.file("blocked.graphml"), &progress));
    EXPECT_TRUE(progress.ended) << "the task ended before the failure was reported";

    // Saving again over the good file replaces it completely.
    graph->addNode({});
    saver.setLocation(dir.file("tree.graphml"));
    saver.compute();
    EXPECT_EQ(saver.status(), Algorithm::Success);
    EXPECT_NE(readFile(dir.file("tree.graphml")), before);

    // Without a location nothing is written.
    log.clear();
    saver.setLocation("");
    saver.compute();
    EXPECT_EQ(saver.status(), Algorithm::Error);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to open ''."});
}

} // namespace
} // namespace Tarnwick
