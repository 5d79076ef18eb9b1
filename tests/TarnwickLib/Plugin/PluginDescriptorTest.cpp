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

    const auto empty = PluginDescriptor::parse("");
    EXPECT_EQ(empty.magic, "");
    EXPECT_EQ(empty.hostVersion, "");
}

TEST(PluginDescriptor, TheHostsOwnDescriptorIsCompatible) {
    const auto parsed = PluginDescriptor::parse(TARNWICK_PLUGIN_DESCRIPTOR);
    EXPECT_EQ(parsed.hostVersion, HostVersion::version);
    EXPECT_EQ(parsed.buildFlags, "GLIBCXX_DEBUG:_GLIBCXX_DEBUG");
    EXPECT_EQ(parsed.pluginVersion, "");
    EXPECT_EQ(parsed.incompatibility(), std::nullopt);
}

TEST(PluginDescriptor, OnlyMajorAndMinorVersionMustMatch) {
    EXPECT_EQ(PluginDescriptor::parse(descriptor("4.5.9")).incompatibility(), std::nullopt);
    EXPECT_EQ(PluginDescriptor::parse(descriptor("4.5")).incompatibility(), std::nullopt);
    EXPECT_EQ(PluginDescriptor::parse(descriptor("4.6.0")).incompatibility(), "host version mismatch 4.6.0 vs 4.5.0");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("5.5.0")).incompatibility(), "host version mismatch 5.5.0 vs 4.5.0");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("four")).incompatibility(),
              "invalid host version 'four' in its descriptor");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("")).incompatibility(), "invalid host version '' in its descriptor");
}

TEST(PluginDescriptor, MagicIsCheckedFirstAndBuildFlagsLast) {
    EXPECT_EQ(PluginDescriptor::parse("OTHER|hostversion=1.0|buildflags=X").incompatibility(),
              "wrong magic 'OTHER' in its descriptor");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("3.0.0", "X")).incompatibility(),
              "host version mismatch 3.0.0 vs 4.5.0");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("4.5.0", "")).incompatibility(),
              "build flag mismatch '' vs 'GLIBCXX_DEBUG:_GLIBCXX_DEBUG'");
    EXPECT_EQ(PluginDescriptor::parse(descriptor("4.5.0", "GLIBCXX_DEBUG")).incompatibility(),
              "build flag mismatch 'GLIBCXX_DEBUG' vs 'GLIBCXX_DEBUG:_GLIBCXX_DEBUG'");
}
