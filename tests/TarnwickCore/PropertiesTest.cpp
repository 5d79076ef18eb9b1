#include <TarnwickCore/Properties.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tarnwick {
namespace {

enum class Mode { Manual = 0, Largest = 1 };

TEST(PropertiesTest, EmptyPropertiesCostOnePointer) {
    static_assert(sizeof(Properties) == sizeof(void*));
    Properties p;
    EXPECT_TRUE(p.isEmpty());
    EXPECT_TRUE(p.params().empty());
    EXPECT_FALSE(p.hasParam("x"));
    EXPECT_FALSE(p.value("x"));
    EXPECT_TRUE(p.subProperties("g").empty());
    p.setParam("x", 1);
    EXPECT_FALSE(p.isEmpty());
    p.clear();
    EXPECT_TRUE(p.isEmpty());
    Properties named("named");
    EXPECT_TRUE(named.isEmpty()); // the name does not count
    named.clear();
    EXPECT_EQ(named.name(), "named");
}

TEST(PropertiesTest, ValuesKeepTheirTypeAndOrder) {
    Properties p;
    p.setParam("count", 3u);           // unsigned int is stored as unsigned long
    p.setParam("mode", Mode::Largest); // enumerations as int
    p.setParam("label", "text");       // string literal as string
    p.setParam("ratio", 0.5f);
    p.setParam("maybe", std::optional<double>());
    EXPECT_EQ(p.paramNames(), (std::vector<std::string>{"count", "mode", "label", "ratio", "maybe"}));
    EXPECT_EQ(p.paramType("count"), Properties::Type::UnsignedLong);
    EXPECT_EQ(p.paramType("mode"), Properties::Type::Int);
    EXPECT_EQ(p.paramType("label"), Properties::Type::String);
    EXPECT_EQ(p.paramType("ratio"), Properties::Type::Float);
    EXPECT_EQ(p.paramType("maybe"), Properties::Type::None);
    EXPECT_FALSE(p.paramType("missing"));

    p.setParam("count", 7u); // replacing keeps the position
    EXPECT_EQ(p.paramNames().front(), "count");
    EXPECT_EQ(p.paramOr("count", 0u), 7u);
}

TEST(PropertiesTest, NumericReadsConvertOnlyWhenTheValueFits) {
    Properties p;
    p.setParam("big", std::numeric_limits<unsigned long>::max());
    p.setParam("negative", -2);
    p.setParam("fraction", -2.75);
    p.setParam("huge", 1e300);
    p.setParam("nan", std::numeric_limits<double>::quiet_NaN());
    p.setParam("flag", true);
    p.setParam("text", std::string("12"));

    unsigned long big = 0;
    EXPECT_TRUE(p.param("big", big));
    EXPECT_EQ(big, std::numeric_limits<unsigned long>::max()); // exact, not rounded through double

    int i = 99;
    EXPECT_FALSE(p.param("big", i));
    EXPECT_FALSE(p.param("huge", i));
    EXPECT_FALSE(p.param("nan", i));
    EXPECT_FALSE(p.param("text", i));
    EXPECT_FALSE(p.param("missing", i));
    EXPECT_EQ(i, 99); // failed reads leave the target alone
    EXPECT_TRUE(p.param("fraction", i));
    EXPECT_EQ(i, -2); // truncated towards zero

    unsigned long u = 5;
    EXPECT_FALSE(p.param("negative", u));
    EXPECT_FALSE(p.param("fraction", u));
    EXPECT_EQ(u, 5u);

    double d = 0;
    EXPECT_TRUE(p.param("flag", d));
    EXPECT_EQ(d, 1.0);
    bool b = false;
    EXPECT_TRUE(p.param("negative", b));
    EXPECT_TRUE(b);
    EXPECT_EQ(p.paramOr("negative", Mode::Manual), static_cast<Mode>(-2));
    EXPECT_EQ(p.paramOr("huge", short(4)), 4);
    EXPECT_EQ(p.paramOr("text", std::string()), "12");
    EXPECT_EQ(p.paramOr("negative", std::string("none")), "none");
}

TEST(PropertiesTest, OptionalParameters) {
    Properties p;
    p.setParam("set", std::optional<std::string>("path"));
    p.setParam("unset", std::optional<std::string>());
    std::optional<std::string> value = "stale";
    EXPECT_TRUE(p.param("unset", value));
    EXPECT_FALSE(value);
    EXPECT_TRUE(p.param("set", value));
    EXPECT_EQ(value, "path");
    std::optional<int> number;
    EXPECT_FALSE(p.param("set", number));
}

TEST(PropertiesTest, SetParamTypeConvertsValueAndDefault) {
    Properties p;
    p.setParam("x", 2.75, 1.5);
    EXPECT_TRUE(p.setParamType("x", Properties::Type::Int));
    EXPECT_EQ(std::get<int>(*p.value("x")), 2);
    EXPECT_EQ(std::get<int>(*p.findParam("x")->defaultValue), 1);
    EXPECT_TRUE(p.setParamType("x", Properties::Type::Int)); // already that type

    p.setParam("y", -1.0, 2.0);
    EXPECT_FALSE(p.setParamType("y", Properties::Type::UnsignedLong));
    EXPECT_EQ(p.paramType("y"), Properties::Type::Double); // unchanged on failure
    p.setParam("z", 1.0, -1.0);
    EXPECT_FALSE(p.setParamType("z", Properties::Type::UnsignedLong)); // the default does not fit
    EXPECT_EQ(std::get<double>(*p.value("z")), 1.0);

    p.setParam("s", std::string("1"));
    EXPECT_FALSE(p.setParamType("s", Properties::Type::Int));
    EXPECT_FALSE(p.setParamType("x", Properties::Type::String));
    EXPECT_FALSE(p.setParamType("missing", Properties::Type::Int));
}

TEST(PropertiesTest, Attributes) {
    Properties p;
    p.setParamAttributes("missing", "label", "ignored");
    EXPECT_FALSE(p.hasParam("missing"));

    p.setParam("mode", 0);
    p.setParamAttributes("mode", "values", "A,B");
    p.setParamAttributes("mode", "hidden", "true");
    p.setParamAttributes("mode", "values", "A,B,C"); // replaced in place
    EXPECT_EQ(p.paramAttribute("mode", "values"), "A,B,C");
    EXPECT_FALSE(p.paramAttribute("mode", "label"));
    EXPECT_EQ(p.paramAttributes("mode").front().first, "values");
    p.setParam("mode", 1); // a new value keeps attributes
    EXPECT_EQ(p.paramAttribute("mode", "hidden"), "true");
}

TEST(PropertiesTest, DefaultWithoutValueAddsTheParameter) {
    Properties p;
    p.setDefaultValue("x", 4);
    EXPECT_EQ(p.paramOr("x", 0), 4);
    p.removeParam("x");
    EXPECT_FALSE(p.hasParam("x"));
    p.removeParam("x");
}

TEST(PropertiesTest, SubPropertiesAndDeepCopies) {
    Properties p("root");
    Properties* first = p.addSubProperties("layer");
    first->setParam("i", 0);
    Properties template_("ignored name");
    template_.setParam("i", 1);
    p.addSubProperties(template_, "layer");
    p.addSubProperties(template_);
    EXPECT_EQ(p.subProperties("layer").size(), 2u);
    EXPECT_EQ(p.subProperties("ignored name").size(), 1u);

    Properties copy = p;
    copy.subProperties("layer")[0]->setParam("i", 42);
    EXPECT_EQ(p.subProperties("layer")[0]->paramOr("i", -1), 0); // the copy is deep
    EXPECT_NE(copy, p);

    copy = p;
    EXPECT_EQ(copy, p);
    copy.removeSubProperties("layer");
    EXPECT_EQ(copy.allSubProperties().size(), 1u);
    Properties moved = std::move(copy);
    EXPECT_EQ(moved.name(), "root");
    EXPECT_EQ(moved.allSubProperties().size(), 1u);
}

TEST(PropertiesTest, CompareWithListsDifferingPaths) {
    Properties a("a");
    a.setParam("same", 1);
    a.setParam("changed", 1.0);
    a.setParam("onlyA", true);
    a.setParam("nan", std::numeric_limits<double>::quiet_NaN());
    a.addSubProperties("g")->setParam("x", 1);
    a.addSubProperties("g")->setParam("x", 2);
    a.addSubProperties("onlyInA");

    Properties b("b"); // the name is not compared
    b.setParam("onlyB", 0);
    b.setParam("same", 1);
    b.setParam("changed", 2.0);
    b.setParam("nan", std::numeric_limits<double>::quiet_NaN());
    b.addSubProperties("g")->setParam("x", 1);
    b.addSubProperties("g")->setParam("x", 3);
    b.setParamAttributes("same", "label", "attributes are ignored");

    EXPECT_EQ(a.compareWith(b), (std::vector<std::string>{"changed", "onlyA", "onlyB", "g/x", "onlyInA"}));
    EXPECT_TRUE(a.compareWith(a).empty());
    EXPECT_EQ(a.compareWith(Properties()).size(), 7u); // four parameters and three groups

    Properties typeChanged = a;
    typeChanged.setParam("same", 1u); // same number, different type
    EXPECT_EQ(a.compareWith(typeChanged), std::vector<std::string>{"same"});
}

TEST(PropertiesTest, EqualityIsExact) {
    Properties a;
    a.setParam("z", 0.0);
    Properties b;
    b.setParam("z", -0.0);
    EXPECT_NE(a, b);
    b.setParam("z", 0.0);
    EXPECT_EQ(a, b);
    b.setParamAttributes("z", "label", "Z");
    EXPECT_NE(a, b);
    b = a;
    b.setDefaultValue("z", 0.0);
    EXPECT_NE(a, b);
    b = a;
    b.setName("renamed");
    EXPECT_NE(a, b);
}

TEST(PropertiesTest, TypeNames) {
    for (std::size_t i = 0; i < std::variant_size_v<Properties::Value>; ++i) {
        const auto type = static_cast<Properties::Type>(i);
        EXPECT_EQ(Properties::typeFromName(Properties::typeName(type)), type);
    }
    EXPECT_FALSE(Properties::typeFromName("Double"));
    EXPECT_FALSE(Properties::typeFromName(""));
}

} // namespace
} // namespace Tarnwick
