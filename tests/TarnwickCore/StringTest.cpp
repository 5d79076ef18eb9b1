#include <TarnwickCore/String.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

using Pieces = std::vector<std::string>;

TEST(StringTest, SplitCamelCaseMakesLabels) {
    EXPECT_EQ(String::splitCamelCase("maxNodeId"), "Max Node Id");
    EXPECT_EQ(String::splitCamelCase("useGPUPath"), "Use GPU Path");
    EXPECT_EQ(String::splitCamelCase("exportToGLTF"), "Export To GLTF");
    EXPECT_EQ(String::splitCamelCase("vec3Value"), "Vec3 Value");
    EXPECT_EQ(String::splitCamelCase("min_size__x"), "Min Size X");
    EXPECT_EQ(String::splitCamelCase("_leading"), "Leading");
    EXPECT_EQ(String::splitCamelCase("größeMm"), "Größe Mm"); // UTF-8 bytes pass through
}

TEST(StringTest, SplitWithAndWithoutEmptyPieces) {
    EXPECT_EQ(String::split("a,,b,", ","), (Pieces{"a", "b"}));
    EXPECT_EQ(String::split("a,,b,", ",", true), (Pieces{"a", "", "b", ""}));
    EXPECT_EQ(String::split("Manual, Largest Diameter;x", ",;"), (Pieces{"Manual", " Largest Diameter", "x"}));
    EXPECT_EQ(String::split("  two  words "), (Pieces{"two", "words"}));
    EXPECT_EQ(String::split("", ","), Pieces{});
    EXPECT_EQ(String::split("abc", ""), Pieces{"abc"});
}

TEST(StringTest, ReplaceAll) {
    EXPECT_EQ(String::replaceAllCopy("a.b.c", ".", "::"), "a::b::c");
    EXPECT_EQ(String::replaceAllCopy("aaaa", "aa", "a"), "aa"); // non-overlapping, left to right
    EXPECT_EQ(String::replaceAllCopy("abc", "", "x"), "abc");
    EXPECT_EQ(String::replaceAllCopy("x", "x", "xx"), "xx"); // the replacement is not searched again
}

TEST(StringTest, CaseAndTrimTouchOnlyAscii) {
    EXPECT_EQ(String::toLowerCopy("GraphML Ü"), "graphml Ü");
    EXPECT_EQ(String::trimCopy(" \t value \r\n"), "value");
    EXPECT_EQ(String::join({"a", "", "c"}, ", "), "a, , c");
}

} // namespace
} // namespace Tarnwick
