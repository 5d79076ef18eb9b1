#include <TarnwickLib/Data/Colormap.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace Tarnwick;

namespace {

struct PublishedColor {
    int entries; ///< table size the value is read from
    int index;
    Eigen::Vector3f rgb;
};

struct PresetCase {
    Colormap::Preset preset;
    std::vector<PublishedColor> colors;
};

// Values from each map's published definition: the 256-entry tables of Viridis and Inferno, the
// 33-entry floating-point table of the cool-warm divergent map, the eighths of Jet, the quarters of
// the hot-iron palette.
const std::vector<PresetCase> presetCases = {
    {Colormap::Grayscale, {{256, 0, {0, 0, 0}}, {256, 255, {1, 1, 1}}, {256, 51, {0.2f, 0.2f, 0.2f}}}},
    {Colormap::Jet,
     {{9, 0, {0, 0, 0.5f}},
      {9, 1, {0, 0, 1}},
      {9, 3, {0, 1, 1}},
      {9, 4, {0.5f, 1, 0.5f}},
      {9, 5, {1, 1, 0}},
      {9, 7, {1, 0, 0}},
      {9, 8, {0.5f, 0, 0}}}},
    {Colormap::HotIron,
     {{5, 0, {0, 0, 0}}, {5, 1, {0.5f, 0, 0}}, {5, 2, {1, 0, 0}}, {5, 3, {1, 0.5f, 0}}, {5, 4, {1, 1, 1}}}},
    {Colormap::Viridis,
     {{256, 0, {0.267004f, 0.004874f, 0.329415f}},
      {256, 64, {0.229739f, 0.322361f, 0.545706f}},
      {256, 128, {0.127568f, 0.566949f, 0.550556f}},
      {256, 192, {0.369214f, 0.788888f, 0.382914f}},
      {256, 255, {0.993248f, 0.906157f, 0.143936f}}}},
    {Colormap::Inferno,
     {{256, 0, {0.001462f, 0.000466f, 0.013866f}},
      {256, 64, {0.3415f, 0.062325f, 0.429425f}},
      {256, 128, {0.735683f, 0.215906f, 0.330245f}},
      {256, 192, {0.978422f, 0.557937f, 0.034931f}},
      {256, 255, {0.988362f, 0.998364f, 0.644924f}}}},
    {Colormap::CoolWarm,
     {{33, 0, {0.2298057f, 0.298717966f, 0.753683153f}},
      {33, 8, {0.552953156f, 0.688929332f, 0.995375608f}},
      {33, 16, {0.865395197f, 0.86541021f, 0.865395561f}},
      {33, 24, {0.958003065f, 0.602842431f, 0.481775914f}},
      {33, 32, {0.705673158f, 0.01555616f, 0.150232812f}}}},
};

} // namespace

TEST(ColormapTest, TablesMatchPublishedValues) {
    for (const auto& c : presetCases) {
        SCOPED_TRACE(Colormap::name(c.preset));
        for (const auto& expected : c.colors) {
            const auto table = Colormap::table(c.preset, expected.entries);
            ASSERT_EQ(table.size(), std::size_t(expected.entries));
            const Eigen::Vector4f& got = table[expected.index];
            EXPECT_LE((got.head<3>() - expected.rgb).cwiseAbs().maxCoeff(), 1.0f / 255.0f)
                << "entry " << expected.index << " of " << expected.entries << ": " << got.transpose();
            EXPECT_EQ(got.w(), 1.0f);
        }
    }
}

TEST(ColormapTest, NamesAndOrder) {
    std::vector<std::string> names;
    for (auto preset : Colormap::presets())
        names.push_back(Colormap::name(preset));
    EXPECT_EQ(names,
              (std::vector<std::string>{"Cool-warm divergent", "Grayscale", "Hot iron", "Inferno", "Jet", "Viridis"}));
}

TEST(ColormapTest, BadRequestsGiveEmptyTablesAndClampedLookups) {
    const auto unknown = static_cast<Colormap::Preset>(3);
    EXPECT_TRUE(Colormap::table(unknown, 256).empty());
    EXPECT_EQ(Colormap::name(unknown), "");
    EXPECT_TRUE(Colormap::table(Colormap::Jet, 0).empty());
    EXPECT_TRUE(Colormap::table(Colormap::Jet, Colormap::maxEntries + 1).empty());
    EXPECT_EQ(Colormap::table(Colormap::Viridis, 1).front(), Colormap::color(Colormap::Viridis, 0.0));
    EXPECT_EQ(Colormap::color(Colormap::HotIron, 7.0), Eigen::Vector4f(1, 1, 1, 1));
    EXPECT_EQ(Colormap::color(Colormap::HotIron, -1.0), Eigen::Vector4f(0, 0, 0, 1));
    EXPECT_EQ(Colormap::color(Colormap::Grayscale, std::nan("")), Eigen::Vector4f(0, 0, 0, 1));
    EXPECT_EQ(Colormap::color(unknown, 0.5), Eigen::Vector4f(1, 0, 1, 1));
}
