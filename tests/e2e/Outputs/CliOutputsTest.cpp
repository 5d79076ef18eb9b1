// extract's extra outputs on a two-label map: one run per label (--labels all), the graph as .vtp read
// back by VTK (vtp_check.py, skipped without Debian's python3-vtk9), the node table, the skeleton image
// in the right place, and --quiet.
#include "../../support/Subprocess.h"
#include "../../support/TempDir.h"
#include "../CliRunner.h"

#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include <Eigen/LU>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace Tarnwick;
using Tarnwick::Test::CliResult;

CliResult cli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
    return Tarnwick::Test::runCli(arguments);
}

/// Label 1: a tube of radius 3 voxels along x at (y, z) = (12, 16); label 3: one along y at (x, z) =
/// (30, 16) that stops short of the first. int16 voxels of 0.8 x 0.8 x 1 mm, moved off the origin.
constexpr double radius = 3.0;
const Eigen::Vector3d spacing(0.8, 0.8, 1.0);

SharedImageSet twoLabels() {
    ImageDescriptor descriptor(PixelType::Int16, {48, 48, 32}, 1, spacing);
    auto image = TypedImage<short>::create(descriptor);
    for (int z = 0; z < 32; ++z)
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 48; ++x) {
                if (x >= 4 && x < 44 && (y - 12) * (y - 12) + (z - 16) * (z - 16) <= radius * radius)
                    image->setValue(x, y, z, 1);
                if (y >= 20 && y < 44 && (x - 30) * (x - 30) + (z - 16) * (z - 16) <= radius * radius)
                    image->setValue(x, y, z, 3);
            }
    Eigen::Matrix4d toWorld = Eigen::Matrix4d::Identity();
    toWorld.topRightCorner<3, 1>() = Eigen::Vector3d(-20.0, 35.0, 7.5);
    return SharedImageSet(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(image)), toWorld));
}

TEST(CliOutputs, LabelsAllWritesVtpNodeTableAndSkeletonPerLabel) {
    Tarnwick::Test::TempDir dir;
    const SharedImageSet labels = twoLabels();
    ASSERT_TRUE(ImageFileIO::save(labels, dir.file("labels.nii.gz")).ok());
    const CliResult run =
        cli({"extract", dir.file("labels.nii.gz"), "--labels", "all", "-o", dir.file("g.vtp"), "--nodes",
             dir.file("nodes.csv"), "--skeleton", dir.file("skeleton.nii.gz"), "--quiet", "--threads", "1"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "") << "--quiet prints nothing";
    EXPECT_FALSE(std::filesystem::exists(dir.file("g_label2.vtp")));

    const Eigen::Matrix4d pixelToWorld =
        labels.get(0)->matrixToWorld() * labels.get(0)->descriptor().pixelToImageMatrix();
    for (const int label : {1, 3}) {
        SCOPED_TRACE(label);
        const std::string suffix = "_label" + std::to_string(label);
        const auto [status, output] =
            Tarnwick::Test::runShell("/usr/bin/python3 '" TARNWICK_SOURCE_DIR "/tests/e2e/Outputs/vtp_check.py' '" +
                                     dir.file("g" + suffix) + ".vtp' '" + dir.file("nodes" + suffix) + ".csv'");
        if (status == 2)
            GTEST_SKIP() << "VTK not available to /usr/bin/python3: " << output;
        EXPECT_EQ(status, 0) << output;

        // Every skeleton voxel lies in its own tube, found through both images' world placement.
        ImageFileIO::LoadResult skeleton = ImageFileIO::load(dir.file("skeleton" + suffix + ".nii.gz"));
        ASSERT_TRUE(skeleton) << skeleton.error;
        const SharedImage& thin = *skeleton.images->get(0);
        const Eigen::Matrix4d skeletonToLabels =
            pixelToWorld.inverse() * thin.matrixToWorld() * thin.descriptor().pixelToImageMatrix();
        const Eigen::Vector3i dims = thin.descriptor().dimensions;
        ASSERT_EQ(thin.descriptor().pixelType, PixelType::UInt8);
        const auto* values = static_cast<const unsigned char*>(thin.mem()->data());
        int voxels = 0;
        for (int z = 0; z < dims.z(); ++z)
            for (int y = 0; y < dims.y(); ++y)
                for (int x = 0; x < dims.x(); ++x) {
                    if (values[thin.descriptor().index(x, y, z)] == 0)
                        continue;
                    ++voxels;
                    const Eigen::Vector3d p = (skeletonToLabels * Eigen::Vector4d(x, y, z, 1)).head<3>();
                    const double off =
                        label == 1 ? std::hypot(p.y() - 12, p.z() - 16) : std::hypot(p.x() - 30, p.z() - 16);
                    EXPECT_LT(off, 1.5) << "skeleton voxel " << x << " " << y << " " << z << " at label pixel "
                                        << p.transpose();
                }
        EXPECT_GT(voxels, 10);
    }
}

} // namespace
