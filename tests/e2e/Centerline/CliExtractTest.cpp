#include "../../support/TempDir.h"
#include "../CliRunner.h"

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::runCli;

CliResult cli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
    return runCli(arguments);
}

std::string read(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

/// The node positions of a GraphML file written by extract (data keys x, y, z in that order).
std::vector<Eigen::Vector3d> positions(const std::string& graphml) {
    std::vector<Eigen::Vector3d> result;
    const std::regex node(R"(<node id="[^"]*">\s*<data key="x">([^<]*)</data>\s*<data key="y">([^<]*)</data>\s*)"
                          R"(<data key="z">([^<]*)</data>)");
    for (auto it = std::sregex_iterator(graphml.begin(), graphml.end(), node); it != std::sregex_iterator(); ++it)
        result.emplace_back(std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3]));
    return result;
}

TEST(CliExtract, SampleThenExtractWritesWorldCoordinatesInsideTheVessels) {
    Tarnwick::Test::TempDir dir;
    const std::string folder = dir.path().string() + "/sample";
    const CliResult sample =
        cli({"sample", "-o", folder, "--size", "64", "--spacing", "0.5,0.6,0.8", "--oblique", "--seed", "3"});
    ASSERT_EQ(sample.exitCode, 0) << sample.err;
    const std::string image = folder + "/vessels.nii.gz";
    ASSERT_TRUE(std::filesystem::exists(folder + "/vessels-truth.graphml"));

    for (const bool ras : {false, true}) {
        const std::string output = folder + (ras ? "/ras.graphml" : "/lps.graphml");
        std::vector<std::string> arguments{"extract", image, "-o", output, "--stats"};
        if (ras)
            arguments.push_back("--ras");
        const CliResult extract = cli(arguments);
        ASSERT_EQ(extract.exitCode, 0) << extract.err;
        for (const char* line : {"Nodes: ", "Branch points: ", "Endpoints: ", "Components: ", "Cycles: ",
                                 "Total length: ", "Diameter range: ", "thin ", "diameters ", "export "})
            EXPECT_NE(extract.out.find(line), std::string::npos) << line;

        // Every node, mapped from world to the image's voxels, lies in or next to a vessel voxel.
        const auto loaded = Tarnwick::DataFileIO::load(image);
        ASSERT_TRUE(loaded);
        const Tarnwick::SharedImage& mask = *dynamic_cast<Tarnwick::SharedImageSet*>(loaded->get(0))->get(0);
        ASSERT_EQ(mask.descriptor().pixelType, Tarnwick::PixelType::UInt8);
        const auto* values = static_cast<const std::uint8_t*>(mask.mem()->data());
        const std::vector<Eigen::Vector3d> nodes = positions(read(output));
        ASSERT_GT(nodes.size(), 20u);
        int outside = 0;
        for (Eigen::Vector3d world : nodes) {
            if (ras)
                world = Eigen::Vector3d(-world.x(), -world.y(), world.z());
            const Eigen::Vector3d pixel = (mask.worldToPixelMatrix() * world.homogeneous()).head<3>();
            const Eigen::Vector3i voxel = pixel.array().round().cast<int>();
            const Eigen::Vector3i dims = mask.descriptor().dimensions;
            if ((voxel.array() < 0).any() || (voxel.array() >= dims.array()).any() ||
                values[mask.descriptor().index(voxel.x(), voxel.y(), voxel.z())] == 0)
                ++outside;
        }
        EXPECT_LE(outside, static_cast<int>(nodes.size() / 50)) << "of " << nodes.size();
    }
}

TEST(CliExtract, StatsCountEachJunctionOnceAndOnlyTheTrueLoopsAsCycles) {
    Tarnwick::Test::TempDir dir;
    const std::string folder = dir.path().string();
    const CliResult sample = cli({"sample", "-o", folder, "--size", "96", "--seed", "5", "--loops"});
    ASSERT_EQ(sample.exitCode, 0) << sample.err;
    std::smatch loops;
    ASSERT_TRUE(std::regex_search(sample.out, loops, std::regex(R"(, (\d+) loops\))"))) << sample.out;
    ASSERT_GT(std::stoi(loops[1]), 0);
    const CliResult extract = cli({"extract", folder + "/vessels.nii.gz", "-o", folder + "/out.tnw", "--stats"});
    ASSERT_EQ(extract.exitCode, 0) << extract.err;
    EXPECT_NE(extract.out.find("Cycles: " + std::string(loops[1]) + "\n"), std::string::npos) << extract.out;
    // As many branch points as the true centerlines have: a junction's voxel triangles count once.
    const std::string truth = read(folder + "/vessels-truth.graphml");
    const std::regex edge(R"re(<edge source="([^"]*)" target="([^"]*)")re");
    std::map<std::string, int> degree;
    for (auto it = std::sregex_iterator(truth.begin(), truth.end(), edge); it != std::sregex_iterator(); ++it)
        ++degree[(*it)[1]], ++degree[(*it)[2]];
    const auto branches =
        std::count_if(degree.begin(), degree.end(), [](const auto& node) { return node.second >= 3; });
    ASSERT_GT(branches, 2);
    EXPECT_NE(extract.out.find("Branch points: " + std::to_string(branches) + "\n"), std::string::npos) << extract.out;
}

/// The sample's mask with every value replaced by fn(value) as pixel type T, saved as `path`.
template <typename T, typename Fn>
void saveRemapped(const std::string& mask, const std::string& path, Fn&& fn) {
    const auto loaded = Tarnwick::DataFileIO::load(mask);
    ASSERT_TRUE(loaded);
    const Tarnwick::SharedImage& image = *dynamic_cast<Tarnwick::SharedImageSet*>(loaded->get(0))->get(0);
    Tarnwick::ImageDescriptor descriptor = image.descriptor();
    descriptor.pixelType = Tarnwick::pixelTypeOf<T>();
    std::shared_ptr<Tarnwick::TypedImage<T>> remapped(Tarnwick::TypedImage<T>::create(descriptor));
    const auto* values = static_cast<const std::uint8_t*>(image.mem()->data());
    for (std::size_t i = 0; i < descriptor.numValues(); ++i)
        remapped->pointer()[i] = fn(values[i]);
    Tarnwick::SharedImageSet set(std::make_shared<Tarnwick::SharedImage>(remapped, image.matrixToWorld()));
    ASSERT_TRUE(Tarnwick::DataFileIO::save(path, Tarnwick::DataList({&set})));
}

// Every pixel type gets diameters; an image that is no mask is refused with the options that fix it.
TEST(CliExtract, Int16MasksAreMeasuredAndLevelSetsNeedTheForegroundChosen) {
    Tarnwick::Test::TempDir dir;
    const std::string folder = dir.path().string();
    ASSERT_EQ(cli({"sample", "-o", folder, "--size", "64", "--seed", "2"}).exitCode, 0);
    saveRemapped<short>(folder + "/vessels.nii.gz", folder + "/int16.nii.gz", [](int v) { return short(v); });
    saveRemapped<float>(folder + "/vessels.nii.gz", folder + "/levelset.nii.gz",
                        [](int v) { return v ? -1.0f : 1.0f; });
    const CliResult int16 = cli({"extract", folder + "/int16.nii.gz", "-o", folder + "/a.graphml", "--stats"});
    ASSERT_EQ(int16.exitCode, 0) << int16.err;
    EXPECT_NE(int16.out.find("Diameter range: "), std::string::npos) << int16.out;

    const CliResult refused = cli({"extract", folder + "/levelset.nii.gz", "-o", folder + "/b.graphml"});
    EXPECT_NE(refused.exitCode, 0);
    for (const char* option : {"--threshold T", "--invert", "--label N"})
        EXPECT_NE(refused.err.find(option), std::string::npos) << refused.err;
    const CliResult chosen = cli({"extract", folder + "/levelset.nii.gz", "-o", folder + "/b.graphml", "--threshold",
                                  "0", "--invert", "--stats"});
    ASSERT_EQ(chosen.exitCode, 0) << chosen.err;
    EXPECT_NE(chosen.out.find("Diameter range: "), std::string::npos) << chosen.out;
}

// The output is checked before any work; its extension in any case; --ras names its frame in the file.
TEST(CliExtract, OutputIsCheckedFirstAndRasFilesNameTheirFrame) {
    Tarnwick::Test::TempDir dir;
    const std::string folder = dir.path().string();
    ASSERT_EQ(cli({"sample", "-o", folder, "--size", "48", "--seed", "4"}).exitCode, 0);
    const std::string image = folder + "/vessels.nii.gz";
    const CliResult missing = cli({"extract", image, "-o", folder + "/no/such/out.graphml"});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_NE(missing.err.find("does not exist"), std::string::npos) << missing.err;
    EXPECT_EQ((missing.out + missing.err).find("thin"), std::string::npos) << "computed before failing";

    const CliResult upper = cli({"extract", image, "-o", folder + "/OUT.GraphML", "--ras"});
    ASSERT_EQ(upper.exitCode, 0) << upper.err;
    EXPECT_NE(read(folder + "/OUT.GraphML").find("<data key=\"coordinateFrame\">RAS</data>"), std::string::npos);
}

TEST(CliExtract, BadInputFailsWithAReason) {
    Tarnwick::Test::TempDir dir;
    const CliResult missing =
        cli({"extract", dir.path().string() + "/none.nii.gz", "-o", dir.path().string() + "/out.graphml"});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_FALSE(missing.err.empty());
    const CliResult extension =
        cli({"extract", dir.path().string() + "/none.nii.gz", "-o", dir.path().string() + "/out.txt"});
    EXPECT_NE(extension.exitCode, 0);
    EXPECT_NE(extension.err.find(".graphml or .tnw"), std::string::npos);
    const CliResult spacing = cli({"sample", "-o", dir.path().string(), "--spacing", "1,x,1"});
    EXPECT_NE(spacing.exitCode, 0);
    EXPECT_NE(spacing.err.find("spacing"), std::string::npos);
}

} // namespace
