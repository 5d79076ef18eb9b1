#include <TarnwickCore/Properties.h>

#include <gtest/gtest.h>

#include <limits>

namespace Tarnwick {
namespace {

enum class Mode { Manual = 0, Largest = 1 };

TEST(PropertiesTest, ValuesKeepTheirTypeAndOrder) {
    Properties p;
    p.setParam("count", 3u);           // unsigned int is stored as unsigned long
    p.setParam("mode", Mode::Largest); // enumerations as int
    p.setParam("label", "text");       // string literal as string
    p.setParam("maybe", std::optional<double>());
    EXPECT_EQ(p.paramNames(), (std::vector<std::string>{"count", "mode", "label", "maybe"}));
    EXPECT_EQ(p.paramType("count"), Properties::Type::UnsignedLong);
    EXPECT_EQ(p.paramType("mode"), Properties::Type::Int);
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
    p.setParam("text", std::string("12"));

    unsigned long big = 0;
    EXPECT_TRUE(p.param("big", big));
    EXPECT_EQ(big, std::numeric_limits<unsigned long>::max()); // exact, not rounded through double

    int i = 99;
    EXPECT_FALSE(p.param("big", i));
    EXPECT_FALSE(p.param("huge", i));
    EXPECT_FALSE(p.param("text", i));
    EXPECT_EQ(i, 99); // failed reads leave the target alone
    EXPECT_TRUE(p.param("fraction", i));
    EXPECT_EQ(i, -2); // truncated towards zero

    unsigned long u = 5;
    EXPECT_FALSE(p.param("negative", u));
    EXPECT_EQ(u, 5u);

    EXPECT_EQ(p.paramOr("negative", Mode::Manual), static_cast<Mode>(-2));
    EXPECT_EQ(p.paramOr("huge", short(4)), 4);
    EXPECT_EQ(p.paramOr("text", std::string()), "12");
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

} // namespace
} // namespace Tarnwick
