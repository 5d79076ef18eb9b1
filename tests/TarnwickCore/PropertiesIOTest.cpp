#include <TarnwickCore/PropertiesIO.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tarnwick {
namespace {

using Limits = std::numeric_limits<double>;

Properties roundTrip(const Properties& properties, int indent = 2) {
    const auto text = PropertiesIO::saveToString(properties, PropertiesIO::Json, indent);
    EXPECT_TRUE(text.has_value());
    auto loaded = PropertiesIO::loadFromString(text.value_or(""));
    EXPECT_TRUE(loaded.has_value()) << text.value_or("");
    return loaded.value_or(Properties("load failed"));
}

// One parameter of every value type, with values chosen to expose lossy encodings.
Properties everyType() {
    Properties p("every \"type\"\n");
    p.setValue("none", std::monostate{});
    p.setParam("bool", true);
    p.setParam("int", std::numeric_limits<int>::min(), 0);
    p.setParamAttributes("int", "values", "Manual,Largest Diameter");
    p.setParam("unsignedLong", std::numeric_limits<unsigned long>::max());
    p.setParam("float", 0.1f);
    p.setParam("double", 0.1);
    p.setParam("string", std::string("unicode ∂ 漢字 \u0001 \\ \"q\""), std::string("default"));
    p.setParam("vec2d", Eigen::Vector2d(1.0 / 3.0, -2.5));
    p.setParam("vec3d", Eigen::Vector3d(1e-300, 1e300, -0.0));
    p.setParam("vec4d", Eigen::Vector4d(1, 0, 0, 1));
    p.setParam("vec2i", Eigen::Vector2i(-1, 2));
    p.setParam("vec3i", Eigen::Vector3i(std::numeric_limits<int>::max(), 0, -7));
    p.setParam("vec4i", Eigen::Vector4i(1, 2, 3, 4));
    Eigen::Matrix4d matrix;
    matrix << 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0.125;
    p.setParam("mat4d", matrix);
    p.setParam("doubleList", std::vector<double>{1.5, Limits::quiet_NaN(), Limits::infinity(), Limits::denorm_min(), Limits::max(),
                                                      9007199254740993.0});
    p.setParam("intList", std::vector<int>{-3, 0, 3});
    p.setParam("stringList", std::vector<std::string>{"a", "", "ü"});
    return p;
}

TEST(PropertiesIOTest, EveryTypeRoundTripsWithItsType) {
    const Properties original = everyType();
    const Properties loaded = roundTrip(original);
    EXPECT_EQ(loaded, original);
    ASSERT_EQ(loaded.params().size(), std::variant_size_v<Properties::Value>);
    for (std::size_t i = 0; i < loaded.params().size(); ++i) {
        const auto& param = loaded.params()[i];
        EXPECT_EQ(param.value.index(), i) << param.name;
        EXPECT_EQ(param.name, Properties::typeName(static_cast<Properties::Type>(i)));
    }
    const auto* matrix = std::get_if<Eigen::Matrix4d>(&loaded.findParam("mat4d")->value);
    ASSERT_TRUE(matrix);
    EXPECT_EQ((*matrix)(0, 1), 2.0); // rows stay rows
    EXPECT_EQ((*matrix)(3, 3), 0.125);
}

TEST(PropertiesIOTest, NonFiniteNumbersAreWrittenAsStrings) {
    Properties p;
    p.setParam("nan", Limits::quiet_NaN());
    p.setParam("inf", Limits::infinity());
    p.setParam("minusInf", -Limits::infinity(), 0.0);
    p.setParam("floatInf", -std::numeric_limits<float>::infinity());
    p.setParam("vector", Eigen::Vector3d(Limits::quiet_NaN(), -Limits::infinity(), 1));

    const auto text = PropertiesIO::saveToString(p, PropertiesIO::Json, -1);
    ASSERT_TRUE(text);
    EXPECT_NE(text->find(R"("value":"nan")"), std::string::npos) << *text;
    EXPECT_NE(text->find(R"("value":"-inf")"), std::string::npos) << *text;

    const Properties loaded = roundTrip(p);
    EXPECT_TRUE(std::isnan(std::get<double>(*loaded.value("nan"))));
    EXPECT_EQ(loaded, p);
}

TEST(PropertiesIOTest, NestedGroupsKeepOrderAndDuplicates) {
    Properties p("root");
    p.addSubProperties("layer")->setParam("index", 0);
    p.addSubProperties("other")->setParam("flag", false);
    Properties* second = p.addSubProperties("layer");
    second->setParam("index", 1);
    second->addSubProperties("deep")->addSubProperties("deeper")->setParam("x", 2.5);
    p.addSubProperties("empty");

    const Properties loaded = roundTrip(p);
    EXPECT_EQ(loaded, p);
    const auto layers = loaded.subProperties("layer");
    ASSERT_EQ(layers.size(), 2u);
    EXPECT_EQ(layers[1]->paramOr("index", -1), 1);
    const auto groups = loaded.allSubProperties();
    ASSERT_EQ(groups.size(), 4u);
    EXPECT_EQ(groups[1]->name(), "other");
    EXPECT_EQ(groups[3]->name(), "empty");
    EXPECT_EQ(layers[1]->subProperties("deep")[0]->subProperties("deeper")[0]->paramOr("x", 0.0), 2.5);
}

TEST(PropertiesIOTest, MalformedTextIsRejected) {
    const auto text = *PropertiesIO::saveToString(everyType());
    for (std::size_t cut : {std::size_t(0), std::size_t(1), text.size() / 3, text.size() / 2, text.size() - 1})
        EXPECT_FALSE(PropertiesIO::loadFromString(text.substr(0, cut))) << "cut at " << cut;

    const char* rejected[] = {
        "",
        "[]",
        R"({"name": 5})",
        R"({"params": {}})",
        R"({"groups": [5]})",
        R"({"params": [{"type": "int", "value": 1}]})",
        R"({"params": [{"name": "x", "type": "complex", "value": 1}]})",
        R"({"params": [{"name": "x", "type": "int", "value": 1.5}]})",
        R"({"params": [{"name": "x", "type": "int", "value": 3000000000}]})",
        R"({"params": [{"name": "x", "type": "double", "value": "NaN"}]})",
        R"({"params": [{"name": "x", "type": "vec3d", "value": [1, 2]}]})",
        R"({"params": [{"name": "x", "type": "mat4d", "value": [[1,2,3,4],[1,2,3,4],[1,2,3,4]]}]})",
        R"({"params": [{"name": "x", "type": "int", "value": 1, "default": "a"}]})",
        R"({"params": [{"name": "x", "type": "int", "value": 1, "attributes": {"a": "b"}}]})",
        R"({"params": [{"name": "x", "type": "int", "value": 1}, {"name": "x", "type": "int", "value": 2}]})",
    };
    for (const char* text : rejected)
        EXPECT_FALSE(PropertiesIO::loadFromString(text)) << text;
}

TEST(PropertiesIOTest, DeeplyNestedGroupsAreRejectedNotCrashing) {
    std::string text;
    const int depth = 100000;
    for (int i = 0; i < depth; ++i)
        text += R"({"groups":[)";
    text += "{}";
    for (int i = 0; i < depth; ++i)
        text += "]}";
    EXPECT_FALSE(PropertiesIO::loadFromString(text));
}

} // namespace
} // namespace Tarnwick
