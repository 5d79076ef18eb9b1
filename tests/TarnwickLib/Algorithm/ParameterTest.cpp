#include "SampleOptions.h"
#include "support/LogCapture.h"

#include <TarnwickCore/Properties.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Tarnwick;
using Tarnwick::Test::LineOptions;
using Tarnwick::Test::SampleOptions;
using Tarnwick::Test::Shape;

namespace {

struct TextCase {
    std::string parameter;
    std::string text;
    std::string expected; // toString() after setting, or the full error message
};

std::ostream& operator<<(std::ostream& out, const TextCase& c) {
    return out << c.parameter << " <- '" << c.text << "'";
}

} // namespace

class ParameterAcceptsText : public testing::TestWithParam<TextCase> {};

TEST_P(ParameterAcceptsText, SetsTheParsedValue) {
    SampleOptions options;
    ParameterBase* parameter = options.parameter(GetParam().parameter);
    ASSERT_NE(parameter, nullptr);
    EXPECT_EQ(parameter->setFromString(GetParam().text), std::nullopt);
    EXPECT_EQ(parameter->toString(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    EveryType, ParameterAcceptsText,
    testing::Values(TextCase{"enabled", "no", "false"}, TextCase{"enabled", " TRUE ", "true"},
                    TextCase{"count", "+42", "42"}, TextCase{"count", "0", "0"},
                    TextCase{"nodeId", "18446744073709551615", "18446744073709551615"},
                    TextCase{"scale", "0.25", "0.25"}, TextCase{"minVesselDiameter", "1e-3", "0.001"},
                    TextCase{"title", "  spaced  ", "  spaced  "}, TextCase{"featureName", "diameter", "diameter"},
                    TextCase{"featureName", "none", "none"}, TextCase{"closeHolesSize", "", "none"},
                    TextCase{"closeHolesSize", " 4", "4"}, TextCase{"box", "(5, 6 7,8)", "5,6,7,8"},
                    TextCase{"shape", "Star", "Star"}, TextCase{"shape", "0", "Circle"},
                    TextCase{"line/width", "1.5", "1.5"}, TextCase{"line/colour", "1 0.5 0 1", "1,0.5,0,1"}));

class ParameterRejectsText : public testing::TestWithParam<TextCase> {};

TEST_P(ParameterRejectsText, ExplainsWhyAndKeepsTheValue) {
    SampleOptions options;
    ParameterBase* parameter = options.parameter(GetParam().parameter);
    ASSERT_NE(parameter, nullptr);
    const std::string before = parameter->toString();
    int changes = 0;
    parameter->signalValueChanged.connect([&] { ++changes; });

    EXPECT_EQ(parameter->setFromString(GetParam().text), GetParam().expected);
    EXPECT_EQ(parameter->toString(), before);
    EXPECT_EQ(changes, 0);
}

INSTANTIATE_TEST_SUITE_P(
    EveryType, ParameterRejectsText,
    testing::Values(
        TextCase{"enabled", "maybe", "Invalid value for parameter 'enabled': 'maybe' is not a boolean (true or false)"},
        TextCase{"count", "4.5", "Invalid value for parameter 'count': '4.5' is not an integer"},
        TextCase{"count", "", "Invalid value for parameter 'count': '' is not an integer"},
        TextCase{"count", "101", "Invalid value for parameter 'count': 101 is above the maximum 100"},
        TextCase{"count", "-1", "Invalid value for parameter 'count': -1 is below the minimum 0"},
        TextCase{"count", "99999999999", "Invalid value for parameter 'count': '99999999999' is out of range for int"},
        TextCase{"nodeId", "-1", "Invalid value for parameter 'nodeId': '-1' is negative"},
        TextCase{"scale", "1e50", "Invalid value for parameter 'scale': '1e50' is out of range for float"},
        TextCase{"minVesselDiameter", "1.0mm",
                 "Invalid value for parameter 'minVesselDiameter': '1.0mm' is not a number"},
        TextCase{"box", "1,2,3", "Invalid value for parameter 'box': expected 4 numbers, got 3"},
        TextCase{"box", "1,2,x,4", "Invalid value for parameter 'box': 'x' is not an integer"},
        TextCase{"shape", "Hexagon",
                 "Invalid value for parameter 'shape': 'Hexagon' is not one of: Circle, Square, Star"},
        TextCase{"shape", "3",
                 "Invalid value for parameter 'shape': 3 is not a value between 0 and 2 (Circle, Square, Star)"},
        TextCase{"closeHolesSize", "two", "Invalid value for parameter 'closeHolesSize': 'two' is not an integer"},
        TextCase{"line", "width=2",
                 "Invalid value for parameter 'line': it is a group; set its members as 'line/member=value'"}));

TEST(Parameter, TextFormRoundTripsEveryValueExactly) {
    SampleOptions source;
    source.enabled = false;
    source.count = 99;
    source.nodeId = std::numeric_limits<unsigned long>::max();
    source.scale = 0.1f;
    source.minVesselDiameter = 0.1 + 0.2; // not representable in few digits
    source.title = "a, b";
    source.featureName = std::string("crossSection");
    source.closeHolesSize = std::nullopt;
    source.box = Eigen::Vector4i(-1, 0, 2147483647, -2147483647);
    source.shape = Shape::Circle;
    source.line->width = 1.0 / 3.0;

    SampleOptions target;
    for (const ParameterBase* parameter : source.parameters())
        if (parameter->typeName() != "group")
            EXPECT_EQ(target.parameter(parameter->name())->setFromString(parameter->toString()), std::nullopt)
                << parameter->name();
    EXPECT_EQ(target.parameter("line/width")->setFromString(source.parameter("line/width")->toString()), std::nullopt);

    Properties expected, actual;
    source.configuration(&expected);
    target.configuration(&actual);
    EXPECT_EQ(expected.compareWith(actual), std::vector<std::string>{});
    EXPECT_EQ(target.minVesselDiameter.value(), 0.1 + 0.2);
    EXPECT_EQ(target.scale.value(), 0.1f);
}

TEST(Parameter, LabelsAndDefaultsAreShownAsText) {
    SampleOptions options;
    EXPECT_EQ(options.minVesselDiameter.label(), "Min Vessel Diameter");
    EXPECT_EQ(options.closeHolesSize.typeName(), "optional int");
    EXPECT_EQ(options.box.typeName(), "vec4i");

    options.shape = Shape::Star;
    EXPECT_EQ(options.shape.toString(), "Star");
    EXPECT_EQ(options.shape.defaultToString(), "Square");
    EXPECT_EQ(options.line.defaultToString(), "width=3, colour=0,0,1,1");
}

TEST(Parameter, IntWithValuesAttributeBehavesAsEnumeration) {
    Configurable owner;
    Parameter<int> colormap{"colormap", 9, &owner};
    EXPECT_EQ(colormap.typeName(), "int");
    colormap.setAttribute("values", "Gray,Hot,Cool");
    EXPECT_EQ(colormap.typeName(), "enum");
    EXPECT_EQ(colormap.toString(), "9"); // out of the labels' range: shown as a number
    EXPECT_EQ(colormap.setFromString("Cool"), std::nullopt);
    EXPECT_EQ(colormap.value(), 2);
    EXPECT_EQ(colormap.toString(), "Cool");
}

TEST(ParameterSignals, ValueSignalFiresOnlyOnRealChanges) {
    SampleOptions options;
    int valueChanges = 0;
    std::vector<const ParameterBase*> ownerChanges;
    options.minVesselDiameter.signalValueChanged.connect([&] { ++valueChanges; });
    options.signalParameterChanged.connect([&](const ParameterBase* p) { ownerChanges.push_back(p); });

    options.minVesselDiameter = 1.0; // the current value
    EXPECT_EQ(valueChanges, 0);
    options.minVesselDiameter = 2.0;
    options.minVesselDiameter.setValue(2.0);
    EXPECT_EQ(options.minVesselDiameter.setFromString("2"), std::nullopt);
    EXPECT_EQ(valueChanges, 1);
    options.minVesselDiameter = std::nan("");
    options.minVesselDiameter = std::nan("");
    EXPECT_EQ(valueChanges, 2);
    options.minVesselDiameter.resetToDefault();
    EXPECT_EQ(valueChanges, 3);
    EXPECT_EQ(ownerChanges, std::vector<const ParameterBase*>(3, &options.minVesselDiameter));
}

TEST(ParameterSignals, GroupMemberChangeIsReportedByGroupAndOwner) {
    SampleOptions options;
    int groupChanges = 0;
    std::vector<const ParameterBase*> ownerChanges;
    options.line.signalValueChanged.connect([&] { ++groupChanges; });
    options.signalParameterChanged.connect([&](const ParameterBase* p) { ownerChanges.push_back(p); });

    options.line->width = 3.0; // unchanged
    options.line->width = 4.0;
    options.line->colour = Eigen::Vector4d(1, 0, 0, 1);
    EXPECT_EQ(groupChanges, 2);
    EXPECT_EQ(ownerChanges, std::vector<const ParameterBase*>(2, &options.line));
}

TEST(ParameterSignals, AttributeSignalFiresOnlyWhenTheTextChanges) {
    SampleOptions options;
    std::vector<std::string> changed;
    options.count.signalAttributeChanged.connect([&](const std::string& name) { changed.push_back(name); });
    options.count.setAttribute("hidden", "true");
    options.count.setAttribute("hidden", "true");
    options.count.setAttribute("hidden", "false");
    options.count.setAttribute("min", "0"); // already set
    EXPECT_EQ(changed, (std::vector<std::string>{"hidden", "hidden"}));
    EXPECT_EQ(options.count.attribute("hidden"), "false");
    EXPECT_EQ(options.count.attribute("tooltip"), "");
    EXPECT_FALSE(options.count.hasAttribute("tooltip"));
    // Replacing keeps the attribute's first position.
    EXPECT_EQ(options.count.attributes().front().first, "min");
}

TEST(ParameterOwnership, CopiedOwnerListsItsOwnMembers) {
    LineOptions original;
    original.width = 7.0;
    LineOptions copy(original);
    EXPECT_EQ(copy.parameters(), (std::vector<ParameterBase*>{&copy.width, &copy.colour}));
    EXPECT_EQ(copy.width.value(), 7.0);
    copy.width = 1.0;
    EXPECT_EQ(original.width.value(), 7.0);

    // Without setParentFromCopy() a copied parameter belongs to nobody.
    Parameter<double> loose(original.width);
    EXPECT_EQ(loose.owner(), nullptr);
    EXPECT_EQ(original.parameters().size(), 2u);
}

TEST(ParameterOwnership, RegistrationFollowsLifetimes) {
    auto owner = std::make_unique<Configurable>();
    Parameter<int> survivor{"survivor", 1, owner.get()};
    {
        Parameter<int> temporary{"temporary", 1, owner.get()};
        EXPECT_EQ(owner->parameter("temporary"), &temporary);
    }
    EXPECT_EQ(owner->parameters(), std::vector<ParameterBase*>{&survivor});
    owner.reset();
    EXPECT_EQ(survivor.owner(), nullptr);
    survivor = 5; // no owner left to notify
    EXPECT_EQ(survivor.value(), 5);
}

TEST(ParameterOwnership, SecondParameterWithTheSameNameIsRefused) {
    Tarnwick::Test::LogCapture log;
    Configurable owner;
    Parameter<int> first{"size", 1, &owner};
    Parameter<double> second{"size", 2.0, &owner};
    EXPECT_EQ(owner.parameters(), std::vector<ParameterBase*>{&first});
    EXPECT_EQ(second.owner(), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Cannot register a second parameter named 'size'"});
}
