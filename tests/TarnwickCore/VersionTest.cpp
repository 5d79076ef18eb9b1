#include <TarnwickCore/Version.h>

#include <gtest/gtest.h>

namespace Tarnwick::Utils {
namespace {

TEST(VersionTest, ParsesTwoOrThreeComponentsAndComparesNumerically) {
    EXPECT_EQ(Version::parse("4.5.12"), Version(4, 5, 12));
    EXPECT_EQ(Version::parse("4.5"), Version(4, 5, 0));
    EXPECT_EQ(Version::parse("10.02.3")->toString(), "10.2.3");
    for (const char* text : {"", "4", "4.", "4..5", "4.5.0.1", "-4.5", " 4.5", "4.5a", "v4.5", "99999999999.1"})
        EXPECT_FALSE(Version::parse(text)) << text;

    EXPECT_LT(Version(4, 4, 9), Version(4, 5, 0));
    EXPECT_LT(Version(4, 5, 0), Version(4, 5, 1));
    EXPECT_GT(Version(4, 10, 0), Version(4, 9, 99)); // numeric, not textual
    EXPECT_FALSE(Version(4, 5, 0) < Version(4, 5));
}

} // namespace
} // namespace Tarnwick::Utils
