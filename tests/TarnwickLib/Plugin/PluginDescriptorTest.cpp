#include <TarnwickLib/Plugin/HostVersion.h>
#include <TarnwickLib/Plugin/PluginDescriptor.h>

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

std::string descriptor(const std::string& hostVersion, const std::string& buildFlags = HostVersion::buildFlags) {
    return std::string(HostVersion::pluginMagic) + "|hostversion=" + hostVersion + "|buildflags=" + buildFlags +
           "|pluginversion=";
}

} // namespace

TEST(PluginDescriptor, ParsesFieldsInAnyOrder) {
    const auto parsed =
        PluginDescriptor::parse("MAGIC|pluginversion=2.1|color=blue|buildflags=A:B=C|noequals|hostversion=4.5.1");
    EXPECT_EQ(parsed.magic, "MAGIC");
    EXPECT_EQ(parsed.hostVersion, "4.5.1");
    EXPECT_EQ(parsed.buildFlags, "A:B=C");
    EXPECT_EQ(parsed.pluginVersion, "2.1");
}

// Magic first, then the host's major and minor version, then the build flags.
TEST(PluginDescriptor, IncompatibilityReasons) {
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {TARNWICK_PLUGIN_DESCRIPTOR, std::nullopt},
        {descriptor("4.5.9"), std::nullopt},
        {descriptor("4.5"), std::nullopt},
        {descriptor("4.6.0"), "host version mismatch 4.6.0 vs 4.5.0"},
        {descriptor("5.5.0"), "host version mismatch 5.5.0 vs 4.5.0"},
        {descriptor("four"), "invalid host version 'four' in its descriptor"},
        {"OTHER|hostversion=1.0|buildflags=X", "wrong magic 'OTHER' in its descriptor"},
        {descriptor("3.0.0", "X"), "host version mismatch 3.0.0 vs 4.5.0"},
        {descriptor("4.5.0", "GLIBCXX_DEBUG"), "build flag mismatch 'GLIBCXX_DEBUG' vs 'GLIBCXX_DEBUG:_GLIBCXX_DEBUG'"},
    };
    for (const auto& [text, reason] : cases)
        EXPECT_EQ(PluginDescriptor::parse(text).incompatibility(), reason) << text;
}
