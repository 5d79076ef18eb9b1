#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"
#include "support/TestImages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

using namespace Tarnwick;
using ::testing::HasSubstr;
using ::testing::StartsWith;
namespace fs = std::filesystem;
namespace Support = Tarnwick::Test;

namespace {

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

SharedImageSet makeSet(PixelType type, const Eigen::Vector3i& dims) {
    return SharedImageSet(std::make_shared<SharedImage>(Support::randomImage(type, dims)));
}

/// Entries of a folder, by name.
std::vector<std::string> listing(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// Loading must fail with a message that names the file, and must not throw.
std::string loadError(const std::string& path) {
    ImageFileIO::LoadResult result;
    EXPECT_NO_THROW(result = ImageFileIO::load(path));
    EXPECT_FALSE(result) << path;
    EXPECT_THAT(result.error, HasSubstr(path));
    return result.error;
}

template <typename T>
void patch(std::string& bytes, std::size_t offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

/// Offset of the value field of `tag` in page `page` of a little-endian classic TIFF.
std::size_t tiffTagValueOffset(const std::string& bytes, int page, std::uint16_t tag) {
    auto u32 = [&](std::size_t at) {
        std::uint32_t v;
        std::memcpy(&v, bytes.data() + at, 4);
        return v;
    };
    auto u16 = [&](std::size_t at) {
        std::uint16_t v;
        std::memcpy(&v, bytes.data() + at, 2);
        return v;
    };
    std::size_t directory = u32(4);
    for (int i = 0; i < page; ++i)
        directory = u32(directory + 2 + 12 * u16(directory));
    for (std::size_t entry = 0; entry < u16(directory); ++entry)
        if (u16(directory + 2 + 12 * entry) == tag)
            return directory + 2 + 12 * entry + 8;
    return 0;
}

const char* nrrdHeader = "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 4 3 2\nendian: little\nencoding: raw\n\n";

} // namespace

TEST(ImageFileErrors, MissingFilesFoldersAndUnknownExtensions) {
    Support::TempDir dir;
    EXPECT_EQ(loadError(dir.file("absent.nii")),
              "Cannot read '" + dir.file("absent.nii") + "': the file does not exist");
    fs::create_directory(dir.file("folder.nrrd"));
    EXPECT_THAT(loadError(dir.file("folder.nrrd")), HasSubstr("not a regular file"));
    for (const char* name : {"picture.png", "archive.gz"}) {
        writeFile(dir.file(name), "data");
        EXPECT_THAT(loadError(dir.file(name)), StartsWith("Unsupported image file extension"));
    }
    EXPECT_TRUE(ImageFileIO::isSupported("/a/B.NII.GZ"));
    EXPECT_FALSE(ImageFileIO::isSupported("scan.gz"));
}

TEST(ImageFileErrors, GarbageAndTruncatedFilesAreRejected) {
    Support::TempDir dir;
    const SharedImageSet set = makeSet(PixelType::Float, {16, 16, 8});
    for (const char* name : {"cut.nii", "cut.nii.gz", "cut.nrrd", "cut.mha", "cut.tif"}) {
        const std::string path = dir.file(name);
        writeFile(path, std::string(3000, '\x5a'));
        loadError(path);
        ASSERT_TRUE(ImageFileIO::save(set, path).ok());
        const std::string full = readFile(path);
        // Cut inside the header, in the middle, and inside the last pixel data (TIFF ends with metadata,
        // so its cut is placed earlier).
        const std::size_t late = std::string(name) == "cut.tif" ? full.size() * 9 / 10 : full.size() - 5;
        for (std::size_t keep : {std::size_t(200), full.size() / 2, late}) {
            writeFile(path, full.substr(0, keep));
            loadError(path);
        }
    }
    // Detached data files that are short or missing.
    ASSERT_TRUE(ImageFileIO::save(set, dir.file("cut.mhd")).ok());
    ASSERT_TRUE(ImageFileIO::save(set, dir.file("cut.nhdr")).ok());
    writeFile(dir.file("cut.raw"), "short");
    loadError(dir.file("cut.mhd"));
    fs::remove(dir.file("cut.nrrd.raw"));
    loadError(dir.file("cut.nhdr"));
}

// Headers that are damaged, impossible or huge: each file fails with a message naming it, and nothing
// near the declared size is allocated.
TEST(ImageFileErrors, CorruptHeadersAreRefused) {
    Support::TempDir dir;
    const std::string data(24, '\x01');
    ASSERT_TRUE(ImageFileIO::save(makeSet(PixelType::Int16, {5, 4, 3}), dir.file("nan.nii")).ok());
    std::string nifti = readFile(dir.file("nan.nii"));
    patch(nifti, 284, std::numeric_limits<float>::quiet_NaN()); // the affine's first row
    ASSERT_TRUE(ImageFileIO::save(makeSet(PixelType::UInt8, {6, 5, 3}), dir.file("pages.tif")).ok());
    std::string tiff = readFile(dir.file("pages.tif"));
    const std::size_t width = tiffTagValueOffset(tiff, 1, 256);
    ASSERT_NE(width, 0u);
    patch(tiff, width, std::uint16_t(600)); // the second page wider than the first
    struct Case {
        std::string name, content, message;
    };
    const Case cases[] = {
        {"zero.nrrd", "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 4 0 2\nendian: little\nencoding: raw\n\n" + data,
         "Cannot read"},
        {"dims.mha",
         "ObjectType = Image\nNDims = 3\nDimSize = 4 -3 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n" + data,
         "Corrupt image header"},
        // The reader would read that many values for every array field.
        {"rank.mha",
         "ObjectType = Image\nNDims = 2000000000\nDimSize = 4 3 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n" +
             data,
         "NDims = 2000000000"},
        {"huge.nrrd",
         "NRRD0004\ntype: double\ndimension: 3\nsizes: 200000 200000 200000\nendian: little\nencoding: raw\n\n12345678",
         "more than this machine's memory"},
        // Large but plausible (2 GB): the short data fails the read.
        {"large.nrrd",
         "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 2000 1000 1000\nendian: little\nencoding: gzip\n\n12345678",
         "Cannot read"},
        {"large.mha",
         "ObjectType = Image\nNDims = 3\nDimSize = 2000 1000 1000\nElementType = MET_UCHAR\nElementDataFile = "
         "LOCAL\n12345678",
         "Cannot read"},
        {"nan.nii", nifti, "not a finite number"},
        {"pages.tif", tiff, "page 1 differs from the first page"},
    };
    for (const Case& c : cases) {
        writeFile(dir.file(c.name), c.content);
        EXPECT_THAT(loadError(dir.file(c.name)), HasSubstr(c.message));
    }
    // A well-formed header works, so the failures above come from the damage alone.
    writeFile(dir.file("good.nrrd"), nrrdHeader + data);
    auto good = ImageFileIO::load(dir.file("good.nrrd"));
    ASSERT_TRUE(good) << good.error;
    EXPECT_EQ(good.images->mem()->maxValue(), 1.0);
}

// Damaged files that crashed the readers (text data overrunning a stack buffer, binary data in a text
// body) or loaded with uninitialised voxels (cut compressed data): each fails before pixel memory is
// allocated, with the reason.
TEST(ImageFileErrors, DamagedFilesFromTheDataFolder) {
    const std::string folder = TARNWICK_SOURCE_DIR "/tests/data/damaged/";
    const std::pair<const char*, const char*> cases[] = {
        {"ascii-long-value.nrrd", "holds a value of 3000 characters"},
        {"ascii-binary-body.nrrd", "holds bytes that are not text"},
        {"ascii-huge-sizes.nrrd", "needs 3000000000 values, 2 are present"},
        {"compressed-cut.mha", "the compressed pixel data is cut short or corrupt"},
        {"compressed-short.mha", "needs 24 bytes, 10 are present"},
        {"compressed-huge-sizes.mha", "needs 3000000000 bytes, 11 are present"},
        {"long-field-name.mha", "a field name longer than 200 characters"},
        {"long-header-line.nrrd", "a line of 1215 characters"},
        {"missing-data-file-with-blank.mha", "does not exist"},
        {"unterminated-text-tag.tif", "has text tag 3 without an end"},
        {"field-name-on-its-own-line.mha", "the header is corrupt: NDims = 100000000000 3"},
    };
    for (const auto& [name, message] : cases)
        EXPECT_THAT(loadError(folder + name), HasSubstr(message)) << name;
}

TEST(ImageFileErrors, InvalidSaveRequestsAreRefused) {
    Support::TempDir dir;
    SharedImageSet empty;
    EXPECT_THAT(ImageFileIO::save(empty, dir.file("empty.nii")).error, HasSubstr("the set has 0"));

    SharedImageSet set = makeSet(PixelType::UInt8, {2, 2, 2});
    EXPECT_THAT(ImageFileIO::save(set, dir.file("image.png")).error, StartsWith("Unsupported image file extension"));
    Eigen::Matrix4d singular = Eigen::Matrix4d::Identity();
    singular.col(1) = singular.col(0);
    set.setMatrixToWorld(singular);
    EXPECT_THAT(ImageFileIO::save(set, dir.file("singular.nii")).error, HasSubstr("not an invertible affine"));
    set.setMatrixToWorld(Eigen::Matrix4d::Identity());

    EXPECT_THAT(ImageFileIO::save(set, dir.file("missing/folder/image.nii")).error,
                HasSubstr("cannot create a temporary folder"));
    EXPECT_THAT(ImageFileIO::save(makeSet(PixelType::Double, {2, 2, 2}), dir.file("image.tif")).error,
                HasSubstr("TIFF files hold int8, uint8, int16, uint16 or float values, not double"));
    EXPECT_EQ(listing(dir.path()), std::vector<std::string>{});
}

TEST(ImageFileErrors, FailedSaveKeepsThePreviousFile) {
    Support::TempDir dir;
    const std::string path = dir.file("keep.nii");
    ASSERT_TRUE(ImageFileIO::save(makeSet(PixelType::Int16, {5, 4, 3}), path).ok());
    const std::string before = readFile(path);
    // NIfTI-1 cannot hold a dimension above 32767: the writer fails after it started.
    const auto result = ImageFileIO::save(makeSet(PixelType::UInt8, {40000, 1, 1}), path);
    EXPECT_FALSE(result.ok());
    EXPECT_THAT(result.error, HasSubstr("32767"));
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(listing(dir.path()), std::vector<std::string>{"keep.nii"});
}

TEST(ImageFileErrors, CompressedSavesAreSmallerAndReadBack) {
    Support::TempDir dir;
    SharedImageSet zeros(std::make_shared<SharedImage>(TypedImage<float>::zeros({32, 32, 32})));
    for (const char* name : {"zeros.nrrd", "zeros.mha"}) {
        ImageFileIO::SaveOptions options;
        options.compress = true;
        ASSERT_TRUE(ImageFileIO::save(zeros, dir.file(name), options).ok());
        EXPECT_LT(fs::file_size(dir.file(name)), 32u * 32 * 32 * 4 / 10) << name;
        auto loaded = ImageFileIO::load(dir.file(name));
        ASSERT_TRUE(loaded) << loaded.error;
        EXPECT_TRUE(Support::sameValues(*zeros.mem(), *loaded.images->mem()));
    }
}
