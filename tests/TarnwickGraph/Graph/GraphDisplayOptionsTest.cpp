#include <TarnwickCore/Properties.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {
namespace {

/// Every parameter in registration order, with a value different from its default.
const std::vector<std::pair<std::string, std::string>> changedValues = {
    {"generalOptions/drawPoints", "false"},
    {"generalOptions/pointSize", "2.5"},
    {"generalOptions/pointColor", "0.5,0.25,0,1"},
    {"generalOptions/onlyDrawNontrivialNodes", "false"},
    {"generalOptions/showNodeIndices", "true"},
    {"generalOptions/drawLines", "false"},
    {"generalOptions/lineWidth", "1.5"},
    {"generalOptions/lineColor", "0,1,1,0.5"},
    {"generalOptions/drawDirectionOnLines", "true"},
    {"featureCircleOptions/featureName", "diameter"},
    {"featureCircleOptions/circleColor", "1,1,0,1"},
    {"featureCircleOptions/scalingMode", "Logarithmic"},
    {"featureCircleOptions/simplifyLinearChains", "true"},
    {"featureCircleOptions/showLabels", "true"},
    {"featureCircleOptions/unitSuffix", "mm"},
    {"featureColorMapOptions/edgeFeatureName", "length"},
    {"featureColorMapOptions/nodeFeatureName", "degree"},
    {"featureColorMapOptions/colormap", "7"},
};

void changeEverything(GraphDisplayOptions& options) {
    for (const auto& [path, text] : changedValues) {
        ParameterBase* parameter = options.parameter(path);
        ASSERT_TRUE(parameter) << path;
        ASSERT_EQ(parameter->setFromString(text), std::nullopt) << path;
    }
}

TEST(GraphDisplayOptions, GroupsListEveryParameterInOrderWithDefaultsAndAttributes) {
    GraphDisplayOptions options;
    std::vector<std::string> paths;
    for (ParameterBase* group : options.parameters())
        for (ParameterBase* member : group->group()->parameters())
            paths.push_back(group->name() + "/" + member->name());
    std::vector<std::string> expected;
    for (const auto& row : changedValues)
        expected.push_back(row.first);
    EXPECT_EQ(paths, expected);

    EXPECT_EQ(options.describeValues(false),
              "generalOptions=drawPoints=true, pointSize=8, pointColor=1,0,0,1, onlyDrawNontrivialNodes=true, "
              "showNodeIndices=false, drawLines=true, lineWidth=3, lineColor=0,0,1,1, drawDirectionOnLines=false, "
              "featureCircleOptions=featureName=none, circleColor=0,1,0,1, scalingMode=Raw, "
              "simplifyLinearChains=false, showLabels=false, unitSuffix=, "
              "featureColorMapOptions=edgeFeatureName=none, nodeFeatureName=none, colormap=9");
    for (const char* colour :
         {"generalOptions/pointColor", "generalOptions/lineColor", "featureCircleOptions/circleColor"})
        EXPECT_EQ(options.parameter(colour)->attribute("type"), "reduced") << colour;
    EXPECT_EQ(options.parameter("featureCircleOptions/scalingMode")->attribute("values"),
              "Raw, RescaledMax, Logarithmic");
}

TEST(GraphDisplayOptions, CopyingAGraphsOptionsReproducesEveryValueIncludingUnsetNames) {
    Graph source(Graph::Undirected, Graph::Dim3D);
    changeEverything(source.components().getOrAdd<GraphDisplayOptions>());

    // Deep copy of the graph: every changed value arrives, and the copy's parameters are its own.
    const std::unique_ptr<Graph> copy = source.clone();
    GraphDisplayOptions& copied = *copy->components().get<GraphDisplayOptions>();
    EXPECT_EQ(copied, *source.components().get<GraphDisplayOptions>());
    copied.generalOptions->lineWidth = 9.0;
    EXPECT_EQ(source.components().get<GraphDisplayOptions>()->generalOptions->lineWidth.value(), 1.5);

    // Assigning default options resets every value, unsetting the feature names the target had.
    const Graph fresh(Graph::Undirected, Graph::Dim3D);
    copied.assign(*fresh.components().get<GraphDisplayOptions>());
    EXPECT_EQ(copied, GraphDisplayOptions());
}

TEST(GraphDisplayOptions, EqualityAndConfigurationCoverEveryParameter) {
    GraphDisplayOptions changed;
    changeEverything(changed);
    EXPECT_EQ(GraphDisplayOptions(changed), changed);
    for (const auto& row : changedValues) {
        GraphDisplayOptions differing(changed);
        differing.parameter(row.first)->resetToDefault();
        EXPECT_NE(differing, changed) << row.first;
    }

    Properties properties;
    changed.configuration(&properties);
    GraphDisplayOptions restored;
    restored.configure(&properties);
    EXPECT_EQ(restored, changed);
    Properties defaults;
    GraphDisplayOptions().configuration(&defaults);
    restored.configure(&defaults);
    EXPECT_EQ(restored, GraphDisplayOptions());
}

TEST(GraphDisplayOptions, EveryParameterChangeEmitsSignalChanged) {
    for (const auto& [path, text] : changedValues) {
        GraphDisplayOptions original;
        GraphDisplayOptions options(original);
        int originalCount = 0, count = 0;
        original.signalChanged.connect([&] { ++originalCount; });
        options.signalChanged.connect([&] { ++count; });
        options.parameter(path)->setFromString(text);
        options.parameter(path)->setFromString(text); // same value again: no signal
        EXPECT_EQ(count, 1) << path;
        EXPECT_EQ(originalCount, 0) << path;
    }
}

} // namespace
} // namespace Tarnwick
