// Loads many randomly damaged copies of valid files in every format. Each load must either give a
// valid image or an error that names the file; the sanitizer build turns any memory error inside the
// readers into a failure. The seeds are fixed, so a failure reproduces.

#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"
#include "support/TestImages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

using namespace Tarnwick;
namespace Support = Tarnwick::Test;

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// Changes 1 to 4 bytes inside the first `region` bytes: random bytes, flipped bits, or characters that
/// turn numbers in text headers into other numbers, signs or separators.
std::string mutate(const std::string& original, std::size_t region, std::mt19937& random) {
    std::string bytes = original;
    region = std::min(region, bytes.size());
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < changes; ++i) {
        char& byte = bytes[random() % region];
        switch (random() % 3) {
        case 0:
            byte = static_cast<char>(random());
            break;
        case 1:
            byte = static_cast<char>(byte ^ (1 << (random() % 8)));
            break;
        default:
            byte = "0123456789-. \n"[random() % 14];
        }
    }
    return bytes;
}

class DamagedFiles : public ::testing::TestWithParam<const char*> {};

} // namespace

TEST_P(DamagedFiles, LoadOrFailCleanly) {
    const std::string extension = GetParam();
    Support::TempDir dir;
    SharedImageSet set(std::make_shared<SharedImage>(Support::randomImage(PixelType::Int16, {6, 5, 4})));
    set.setMatrixToWorld(Support::obliquePlacement());
    const std::string original = dir.file("original" + extension);
    ASSERT_TRUE(ImageFileIO::save(set, original).ok());
    const std::string bytes = readFile(original);
    const bool detached = extension == ".mhd" || extension == ".nhdr";
    // Binary headers are damaged anywhere in their fixed part (TIFF: anywhere), text headers in
    // their first 400 bytes.
    const std::size_t region = extension == ".nii" ? 352 : extension == ".tif" ? bytes.size() : 400;

    std::mt19937 random(2024);
    int loaded = 0;
    for (int i = 0; i < 150; ++i) {
        const std::string path = dir.file("damaged" + extension);
        std::ofstream(path, std::ios::binary) << mutate(bytes, region, random);
        if (detached)
            std::filesystem::copy_file(dir.file("original.raw"), dir.file("damaged.raw"),
                                       std::filesystem::copy_options::overwrite_existing);
        const ImageFileIO::LoadResult result = ImageFileIO::load(path);
        if (result) {
            ++loaded;
            ASSERT_EQ(result.images->size(), 1);
            EXPECT_TRUE(result.images->mem(0)->descriptor().isValid());
        } else {
            EXPECT_THAT(result.error, ::testing::HasSubstr(path)) << "mutation " << i;
        }
    }
    // Some damage (in text, unused fields) is harmless: the loop reaches the readers' data paths too.
    EXPECT_GT(loaded, 0);
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, DamagedFiles,
                         ::testing::Values(".nii", ".nii.gz", ".nrrd", ".nhdr", ".mha", ".mhd", ".tif"),
                         [](const auto& info) {
                             return std::string(info.param + 1) == "nii.gz" ? std::string("nii_gz")
                                                                            : std::string(info.param + 1);
                         });
