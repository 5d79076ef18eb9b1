// tarnwick-cli render: a picture of a small graph whose geometry and colours are known, and the
// requests it refuses.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <fstream>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;

CliResult runRender(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR, "render"});
    return Tarnwick::Test::runCli(arguments);
}

/// One edge from (-10, 0, 0) to (10, 0, 0) with diameter 2.
std::string writeEdge(const Tarnwick::Test::TempDir& folder) {
    const std::string path = folder.file("edge.graphml");
    std::ofstream(path) << R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="x" for="node" attr.name="x" attr.type="double"/>
  <key id="y" for="node" attr.name="y" attr.type="double"/>
  <key id="z" for="node" attr.name="z" attr.type="double"/>
  <key id="diameter" for="edge" attr.name="diameter" attr.type="double"/>
  <graph id="G" edgedefault="undirected">
    <node id="a"><data key="x">-10</data><data key="y">0</data><data key="z">0</data></node>
    <node id="b"><data key="x">10</data><data key="y">0</data><data key="z">0</data></node>
    <edge source="a" target="b"><data key="diameter">2</data></edge>
  </graph>
</graphml>
)";
    return path;
}

struct Picture {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgba;
    const std::uint8_t* at(int x, int y) const { return &rgba[(static_cast<std::size_t>(y) * width + x) * 4]; }
};

Picture readPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Picture picture;
    if (!png_image_begin_read_from_file(&image, path.c_str()))
        return picture;
    image.format = PNG_FORMAT_RGBA;
    picture.rgba.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.rgba.data(), 0, nullptr)) {
        picture.width = static_cast<int>(image.width);
        picture.height = static_cast<int>(image.height);
    }
    return picture;
}

} // namespace

// In the axial view the edge crosses the centre of the picture horizontally; coloured by its only
// diameter value it takes the first colour of the Jet map, dark blue (0, 0, 128).
TEST(CliRender, AxialPictureShowsTheEdgeInItsFeatureColour) {
    Tarnwick::Test::TempDir folder;
    const std::string picturePath = folder.file("edge.png");
    const CliResult result = runRender({writeEdge(folder), "-o", picturePath, "--view", "axial", "--size", "400x240",
                                        "--color-by", "diameter", "--colormap", "jet"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "Rendered")) << result.out;

    const Picture picture = readPng(picturePath);
    ASSERT_EQ(picture.width, 400);
    ASSERT_EQ(picture.height, 240);
    for (const int x : {100, 200}) {
        const std::uint8_t* pixel = picture.at(x, 119);
        EXPECT_NEAR(pixel[0], 0, 3) << x;
        EXPECT_NEAR(pixel[1], 0, 3) << x;
        EXPECT_NEAR(pixel[2], 128, 3) << x;
    }
    // Above and below the line lies the background.
    EXPECT_NE(picture.at(200, 60)[2], 128);
    EXPECT_NE(picture.at(200, 180)[2], 128);
}

TEST(CliRender, RefusedRequestsSayWhy) {
    Tarnwick::Test::TempDir folder;
    const std::string graph = writeEdge(folder);
    const std::string picture = folder.file("out.png");
    struct Case {
        std::vector<std::string> arguments;
        std::string reason;
    };
    const std::vector<Case> cases{
        {{graph, "-o", picture, "--color-by", "radius"}, "no node or edge feature 'radius'"},
        {{graph, "-o", picture, "--colormap", "rainbow"}, "Unknown colour map 'rainbow'"},
        {{graph, "-o", picture, "--size", "10x10"}, "between 16 and 8192"},
        {{graph, "-o", folder.file("out.jpg")}, "must end in .png"},
        {{graph, "-o", picture, "--set", "generalOptions/pointSize=big"}, "pointSize"},
        {{graph, "-o", picture, "--set", "generalOptions/glow=1"}, "no 'generalOptions/glow'"},
    };
    for (const Case& c : cases) {
        const CliResult result = runRender(c.arguments);
        EXPECT_EQ(result.exitCode, 2) << c.reason;
        EXPECT_TRUE(contains(result.err + result.out, c.reason)) << result.err;
    }
    EXPECT_FALSE(std::ifstream(picture).good());
}
