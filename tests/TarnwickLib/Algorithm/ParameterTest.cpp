#include "SampleOptions.h"
#include "support/LogCapture.h"

#include <TarnwickCore/Properties.h>

#include <gtest/gtest.h>


using namespace Tarnwick;
using Tarnwick::Test::SampleOptions;

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
                    TextCase{"count", "+42", "42"},
                    TextCase{"nodeId", "18446744073709551615", "18446744073709551615"},
                    TextCase{"scale", "0.25", "0.25"}, TextCase{"minVesselDiameter", "1e-3", "0.001"},
                    TextCase{"title", "  spaced  ", "  spaced  "}, TextCase{"featureName", "diameter", "diameter"},
                    TextCase{"closeHolesSize", "", "none"},
                    TextCase{"box", "(5, 6 7,8)", "5,6,7,8"},
                    TextCase{"shape", "Star", "Star"},
                    TextCase{"line/colour", "1 0.5 0 1", "1,0.5,0,1"}));

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
        TextCase{"count", "101", "Invalid value for parameter 'count': 101 is above the maximum 100"},
        TextCase{"count", "99999999999", "Invalid value for parameter 'count': '99999999999' is out of range for int"},
        TextCase{"nodeId", "-1", "Invalid value for parameter 'nodeId': '-1' is negative"},
        TextCase{"scale", "1e50", "Invalid value for parameter 'scale': '1e50' is out of range for float"},
        TextCase{"minVesselDiameter", "1.0mm",
                 "Invalid value for parameter 'minVesselDiameter': '1.0mm' is not a number"},
        TextCase{"box", "1,2,3", "Invalid value for parameter 'box': expected 4 numbers, got 3"},
        TextCase{"shape", "Hexagon",
                 "Invalid value for parameter 'shape': 'Hexagon' is not one of: Circle, Square, Star"},
        TextCase{"shape", "3",
                 "Invalid value for parameter 'shape': 3 is not a value between 0 and 2 (Circle, Square, Star)"},
        TextCase{"line", "width=2",
                 "Invalid value for parameter 'line': it is a group; set its members as 'line/member=value'"}));

TEST(ParameterOwnership, SecondParameterWithTheSameNameIsRefused) {
    Tarnwick::Test::LogCapture log;
    Configurable owner;
    Parameter<int> first{"size", 1, &owner};
    Parameter<double> second{"size", 2.0, &owner};
    EXPECT_EQ(owner.parameters(), std::vector<ParameterBase*>{&first});
    EXPECT_EQ(second.owner(), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Cannot register a second parameter named 'size'"});
}
