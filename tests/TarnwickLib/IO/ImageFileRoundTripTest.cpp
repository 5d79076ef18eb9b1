#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace Tarnwick;
namespace Support = Tarnwick::Test;

namespace {

const PixelType allTypes[] = {PixelType::Int8,  PixelType::UInt8,  PixelType::Int16, PixelType::UInt16,
                              PixelType::Int32, PixelType::UInt32, PixelType::Float, PixelType::Double};

struct Case {
    std::string extension;
    PixelType type;
    bool threeD;
};

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    std::string ext = info.param.extension.substr(1);
    for (char& c : ext)
        if (c == '.')
            c = '_';
    return ext + "_" + pixelTypeName(info.param.type) + (info.param.threeD ? "_3D" : "_2D");
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const char* ext : {".nii", ".nii.gz", ".nrrd", ".nhdr", ".mha", ".mhd"})
        for (PixelType type : allTypes)
            for (bool threeD : {false, true})
                cases.push_back({ext, type, threeD});
    return cases;
}

/// NIfTI stores spacing and placement as 32-bit floats; the text formats keep doubles.
double placementTolerance(const std::string& extension) {
    return extension.rfind(".nii", 0) == 0 ? 1e-5 : 1e-12;
}

std::unique_ptr<SharedImageSet> makeSet(std::unique_ptr<MemImage> mem, const Eigen::Matrix4d& placement) {
    return std::make_unique<SharedImageSet>(std::make_shared<SharedImage>(std::move(mem), placement));
}

/// Saves and loads again, failing the test on any error.
std::unique_ptr<SharedImageSet> roundTrip(const SharedImageSet& set, const std::string& path) {
    auto saved = ImageFileIO::save(set, path);
    EXPECT_TRUE(saved.ok()) << saved.error;
    auto loaded = ImageFileIO::load(path);
    EXPECT_TRUE(loaded) << loaded.error;
    if (loaded) {
        EXPECT_EQ(loaded.images->size(), 1);
    }
    return std::move(loaded.images);
}

/// World positions of the eight corner voxels agree within `tolerance` (millimetres).
void expectSamePlacement(const SharedImage& expected, const SharedImage& actual, double tolerance) {
    const ImageDescriptorWorld a = expected.descriptorWorld(), b = actual.descriptorWorld();
    const Eigen::Vector3d last = (a.descriptor.dimensions - Eigen::Vector3i::Ones()).cast<double>();
    for (int corner = 0; corner < 8; ++corner) {
        const Eigen::Vector3d p(corner & 1 ? last.x() : 0, corner & 2 ? last.y() : 0, corner & 4 ? last.z() : 0);
        EXPECT_LT((a.pixelToWorld(p) - b.pixelToWorld(p)).norm(), tolerance) << "corner " << corner;
    }
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class ImageFileRoundTrip : public ::testing::TestWithParam<Case> {};

} // namespace

TEST_P(ImageFileRoundTrip, ValuesAndObliquePlacementSurviveAndASecondCycleChangesNothing) {
    const Case& c = GetParam();
    Support::TempDir dir;
    const Eigen::Vector3i dims = c.threeD ? Eigen::Vector3i(7, 5, 4) : Eigen::Vector3i(6, 9, 1);
    auto mem = Support::randomImage(c.type, dims, 1, 42);
    mem->setSpacing(c.threeD ? Eigen::Vector3d(0.3, 0.7, 2.5) : Eigen::Vector3d(0.3, 0.7, 1.0));
    auto original = makeSet(std::move(mem), Support::obliquePlacement());

    auto loaded = roundTrip(*original, dir.file("image" + c.extension));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->name(), "image");
    EXPECT_TRUE(Support::sameValues(*original->mem(0), *loaded->mem(0)));
    expectSamePlacement(*original->get(0), *loaded->get(0), placementTolerance(c.extension));
    EXPECT_LT((loaded->get(0)->descriptor().spacing - original->get(0)->descriptor().spacing).norm(),
              placementTolerance(c.extension));
    EXPECT_EQ(loaded->matrixToWorld(), loaded->get(0)->matrixToWorld());

    // Loading and saving again reproduces spacing, origin and direction.
    auto again = roundTrip(*loaded, dir.file("again" + c.extension));
    ASSERT_TRUE(again);
    EXPECT_TRUE(Support::sameValues(*loaded->mem(0), *again->mem(0)));
    EXPECT_LT((again->get(0)->descriptor().spacing - loaded->get(0)->descriptor().spacing).norm(), 1e-14);
    EXPECT_LT((again->get(0)->matrixToWorld() - loaded->get(0)->matrixToWorld()).norm(), 1e-13);
}

INSTANTIATE_TEST_SUITE_P(AllFormats, ImageFileRoundTrip, ::testing::ValuesIn(allCases()), caseName);

TEST(ImageFileIO, AxisAlignedPlacementRoundTripsWithTheOriginAtVoxelZero) {
    Support::TempDir dir;
    auto mem = Support::randomImage(PixelType::Int16, {10, 6, 4}, 1, 3);
    mem->setSpacing({0.5, 0.25, 3.0});
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement.topRightCorner<3, 1>() = Eigen::Vector3d(100, -50, 7);
    auto original = makeSet(std::move(mem), placement);
    auto loaded = roundTrip(*original, dir.file("aligned.nrrd"));
    ASSERT_TRUE(loaded);
    // Voxel 0 sits half the volume (minus half a voxel) below the centre: 100 - 0.5 * 4.5 etc.
    const std::string header = readText(dir.file("aligned.nrrd"));
    EXPECT_NE(header.find("space origin: (97.75,-50.625,2.5)"), std::string::npos) << header.substr(0, 400);
    EXPECT_EQ(loaded->get(0)->matrixToWorld(), placement);
}

// X.mhd keeps its data in X.raw and X.nhdr in X.nrrd.raw, so saving one never overwrites the other's data.
TEST(ImageFileIO, DetachedHeadersKeepTheirDataFileAndLeaveNothingElse) {
    Support::TempDir dir;
    auto meta = makeSet(Support::randomImage(PixelType::UInt16, {6, 6, 6}), Support::obliquePlacement());
    auto nrrd = makeSet(Support::randomImage(PixelType::UInt16, {6, 6, 6}), Support::obliquePlacement());
    ASSERT_TRUE(roundTrip(*meta, dir.file("volume.mhd")));
    ASSERT_TRUE(roundTrip(*nrrd, dir.file("volume.nhdr")));
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"volume.mhd", "volume.nhdr", "volume.nrrd.raw", "volume.raw"}));
    const auto reloaded = ImageFileIO::load(dir.file("volume.mhd"));
    ASSERT_TRUE(reloaded) << reloaded.error;
    EXPECT_TRUE(Support::sameValues(*meta->mem(), *reloaded.images->mem()));
}

TEST(ImageFileIO, TiffStacksRoundTrip) {
    Support::TempDir dir;
    for (PixelType type : {PixelType::UInt8, PixelType::UInt16, PixelType::Int16, PixelType::Float}) {
        for (const Eigen::Vector3i& dims : {Eigen::Vector3i(9, 7, 1), Eigen::Vector3i(9, 7, 5)}) {
            auto mem = Support::randomImage(type, dims, 1, 11);
            mem->setSpacing({0.5, 0.25, dims.z() == 1 ? 1.0 : 2.0});
            auto original = makeSet(std::move(mem), Eigen::Matrix4d::Identity());
            auto loaded = roundTrip(*original, dir.file("stack.tif"));
            ASSERT_TRUE(loaded) << pixelTypeName(type);
            EXPECT_TRUE(Support::sameValues(*original->mem(0), *loaded->mem(0))) << pixelTypeName(type);
            EXPECT_LT((loaded->get(0)->descriptor().spacing.head<2>() - Eigen::Vector2d(0.5, 0.25)).norm(), 1e-4);
        }
    }
}
