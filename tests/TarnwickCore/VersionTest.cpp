#include <TarnwickCore/Version.h>

#include <gtest/gtest.h>

namespace Tarnwick::Utils {
namespace {

TEST(VersionTest, ParsesTwoOrThreeComponents) {
    const auto full = Version::parse("4.5.12");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->major(), 4);
    EXPECT_EQ(full->minor(), 5);
    EXPECT_EQ(full->patch(), 12);
    EXPECT_EQ(Version::parse("4.5"), Version(4, 5, 0));
    EXPECT_EQ(Version::parse("0.0.0")->toString(), "0.0.0");
    EXPECT_EQ(Version::parse("10.02.3")->toString(), "10.2.3");
}

TEST(VersionTest, RejectsEverythingElse) {
    for (const char* text : {"", "4", "4.", ".5", "4..5", "4.5.", "4.5.0.1", "-4.5", "4.-5", "+4.5", " 4.5", "4.5 ",
                             "4.5a", "v4.5", "4,5", "99999999999.1"})
        EXPECT_FALSE(Version::parse(text)) << text;
}

TEST(VersionTest, ComparesComponentWise) {
    const Version v(4, 5, 0);
    EXPECT_LT(Version(4, 4, 9), v);
    EXPECT_LT(v, Version(4, 5, 1));
    EXPECT_LT(Version(4, 10, 0), Version(5, 0, 0));
    EXPECT_GT(Version(4, 10, 0), Version(4, 9, 99)); // numeric, not textual
    EXPECT_LE(v, Version(4, 5));
    EXPECT_GE(v, Version(4, 5));
    EXPECT_NE(v, Version(4, 5, 1));
    EXPECT_FALSE(v < v);
    EXPECT_FALSE(v > v);
}

} // namespace
} // namespace Tarnwick::Utils
