#include "SampleOptions.h"
#include "support/LogCapture.h"

#include <TarnwickCore/Properties.h>
#include <TarnwickCore/PropertiesIO.h>

#include <gtest/gtest.h>

using namespace Tarnwick;
using Tarnwick::Test::SampleOptions;
using Tarnwick::Test::Shape;

namespace {

void changeEverything(SampleOptions& options) {
    options.enabled = false;
    options.count = 17;
    options.nodeId = 123456789012ul;
    options.scale = 2.5f;
    options.minVesselDiameter = 0.3;
    options.title = "renamed";
    options.featureName = std::string("diameter");
    options.closeHolesSize = std::nullopt;
    options.box = Eigen::Vector4i(9, 8, 7, 6);
    options.shape = Shape::Star;
    options.line->width = 1.5;
    options.line->colour = Eigen::Vector4d(0.25, 0.5, 0.75, 1);
}

Properties configurationOf(const Configurable& configurable) {
    Properties properties;
    configurable.configuration(&properties);
    return properties;
}

} // namespace

TEST(Configurable, ConfigurationRoundTripsThroughTheTextFormat) {
    SampleOptions source;
    changeEverything(source);
    const auto text = PropertiesIO::saveToString(configurationOf(source));
    ASSERT_TRUE(text);
    const auto loaded = PropertiesIO::loadFromString(*text);
    ASSERT_TRUE(loaded);

    SampleOptions target;
    Tarnwick::Test::LogCapture log;
    target.configure(&*loaded);

    EXPECT_TRUE(log.messages().empty());
    EXPECT_EQ(configurationOf(source).compareWith(configurationOf(target)), std::vector<std::string>{});
    EXPECT_EQ(target.closeHolesSize.value(), std::nullopt);
    EXPECT_EQ(target.featureName.value(), std::optional<std::string>("diameter"));
    EXPECT_EQ(target.shape.value(), Shape::Star);
    EXPECT_EQ(target.nodeId.value(), 123456789012ul);
    EXPECT_EQ(target.line->width.value(), 1.5);
    EXPECT_EQ(target.line->colour.value(), Eigen::Vector4d(0.25, 0.5, 0.75, 1));
}

TEST(Configurable, DeprecatedNameIsAcceptedWithTheExactWarning) {
    SampleOptions options;
    options.minVesselDiameter.addDeprecatedName("minDiameter");
    options.line.addDeprecatedName("lineOptions");
    Properties old;
    old.setParam("minDiameter", 2.5);
    old.addSubProperties("lineOptions")->setParam("width", 6.0);

    Tarnwick::Test::LogCapture log;
    options.configure(&old);

    EXPECT_EQ(options.minVesselDiameter.value(), 2.5);
    EXPECT_EQ(options.line->width.value(), 6.0);
    EXPECT_EQ(log.warnings(),
              (std::vector<std::string>{
                  "Using deprecated parameter name 'minDiameter'. Please use: 'minVesselDiameter' instead.",
                  "Using deprecated parameter name 'lineOptions'. Please use: 'line' instead."}));
}

TEST(Configurable, IncompatibleStoredValuesAreSkippedWithAWarning) {
    SampleOptions options;
    Properties wrong;
    wrong.setParam("title", 3);
    wrong.setParam("count", std::string("many"));
    wrong.setParam("box", Eigen::Vector4d(1, 2, 3, 4));
    wrong.setParam("scale", 4);  // numbers convert
    wrong.setParam("line", 1.0); // a value where a group is expected

    Tarnwick::Test::LogCapture log;
    options.configure(&wrong);
    EXPECT_EQ(options.title.value(), "vessels");
    EXPECT_EQ(options.count.value(), 5);
    EXPECT_EQ(options.box.value(), Eigen::Vector4i(1, 2, 3, 4));
    EXPECT_EQ(options.scale.value(), 4.0f);
    EXPECT_EQ(log.warnings(),
              (std::vector<std::string>{"Ignoring the stored value of parameter 'count': it is not of type int",
                                        "Ignoring the stored value of parameter 'title': it is not of type string",
                                        "Ignoring the stored value of parameter 'box': it is not of type vec4i",
                                        "Ignoring the stored value of parameter 'line': it is not of type group"}));
}
