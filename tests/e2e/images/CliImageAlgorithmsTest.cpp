// tarnwick-cli applying the host's image algorithms to image files: each run's output file must hold
// what the same algorithm computes in this process.
#include "CliRunner.h"
#include "support/TempDir.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>
#include <TarnwickLib/IO/ImageFileIO.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>

using namespace Tarnwick;
using Tarnwick::Test::CliResult;
using Tarnwick::Test::runCli;
using Tarnwick::Test::sameValues;

namespace {

CliResult cli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "--no-default-plugins");
    return runCli(arguments);
}

// A float image of a tube along z (values falling from 2 on the axis to 0 at radius 4 voxels),
// anisotropic and rotated, as a segmentation tool might export a probability map.
std::unique_ptr<SharedImageSet> tubeProbabilities() {
    auto values = TypedImage<float>::create(ImageDescriptor(PixelType::Float, {24, 22, 16}, 1, {0.5, 0.6, 1.2}));
    for (int z = 0; z < 16; ++z)
        for (int y = 0; y < 22; ++y)
            for (int x = 0; x < 24; ++x)
                values->setValue(
                    x, y, z, static_cast<float>(std::max(0.0, 2.0 - 0.5 * Eigen::Vector2d(x - 11.5, y - 10.5).norm())));
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topLeftCorner<3, 3>() = Eigen::AngleAxisd(0.4, Eigen::Vector3d::UnitZ()).toRotationMatrix();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(10, -5, 3);
    return std::make_unique<SharedImageSet>(std::make_shared<SharedImage>(std::move(values), placement), "tube");
}

std::unique_ptr<SharedImageSet> loadImage(const std::string& path) {
    auto loaded = ImageFileIO::load(path);
    EXPECT_TRUE(loaded) << path << ": " << loaded.error;
    return std::move(loaded.images);
}

// Runs `algorithm` in this process and returns its first output set.
std::unique_ptr<SharedImageSet> computeHere(Algorithm& algorithm) {
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    return algorithm.takeOutput().extractFirstImage();
}

class CliImageAlgorithms : public testing::Test {
protected:
    void SetUp() override {
        registerHostAlgorithms();
        ASSERT_TRUE(ImageFileIO::save(*tubeProbabilities(), input));
        // The file's float values and rounded placement are what the command line sees.
        inputImages = loadImage(input);
        ASSERT_NE(inputImages, nullptr);
    }

    std::string file(const std::string& name) const { return folder.file(name); }

    Tarnwick::Test::TempDir folder;
    const std::string input = folder.file("tube.nii.gz");
    std::unique_ptr<SharedImageSet> inputImages;
};

} // namespace

TEST_F(CliImageAlgorithms, ResamplingToASpacingIntoADataFile) {
    const std::string output = file("resampled.tnw");
    const CliResult result = cli(
        {"run", "ImageResampling", input, "--set", "spacing=1,1,0.8", "--set", "interpolation=Nearest", "-o", output});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ImageResamplingAlgorithm here(*inputImages);
    here.spacing = Eigen::Vector3d(1, 1, 0.8);
    here.interpolation = ImageResamplingAlgorithm::Nearest;
    const auto expected = computeHere(here);
    const auto loaded = TarnwickFile::load(output);
    ASSERT_TRUE(loaded);
    const auto* images = dynamic_cast<const SharedImageSet*>(loaded->get(0));
    ASSERT_NE(images, nullptr);
    EXPECT_EQ(images->get(0)->descriptor(), expected->get(0)->descriptor());
    EXPECT_EQ(images->get(0)->matrixToWorld(), inputImages->get(0)->matrixToWorld());
    EXPECT_TRUE(sameValues(*images->mem(0), *expected->mem(0)));
}
