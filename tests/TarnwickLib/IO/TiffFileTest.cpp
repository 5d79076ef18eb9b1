#include <TarnwickLib/IO/ImageFileIO.h>
#include <TarnwickLib/IO/TiffFile.h>
#include <TarnwickLib/IO/TiffGeometry.h>

#include "support/TempDir.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

using namespace Tarnwick;
namespace Support = Tarnwick::Test;

namespace {

template <typename T>
void put(std::string& bytes, T value, bool bigEndian) {
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    if (bigEndian)
        std::reverse(raw, raw + sizeof(T));
    bytes.append(raw, sizeof(T));
}

/// A one-page 2x2 8-bit TIFF file written by hand: header, four pixel bytes, one directory.
std::string smallTiff(bool bigEndian) {
    std::string bytes = bigEndian ? std::string("MM\0*", 4) : std::string("II*\0", 4);
    put<std::uint32_t>(bytes, 12, bigEndian);
    bytes += std::string("\x01\x02\x03\x04", 4);
    const std::uint16_t tags[][3] = {{256, 3, 2}, {257, 3, 2}, {258, 3, 8}, {273, 4, 8}, {279, 4, 4}};
    put<std::uint16_t>(bytes, 5, bigEndian);
    for (const auto& [tag, type, value] : tags) {
        put<std::uint16_t>(bytes, tag, bigEndian);
        put<std::uint16_t>(bytes, type, bigEndian);
        put<std::uint32_t>(bytes, 1, bigEndian);
        if (type == 3) {
            put<std::uint16_t>(bytes, value, bigEndian);
            put<std::uint16_t>(bytes, 0, bigEndian);
        } else {
            put<std::uint32_t>(bytes, value, bigEndian);
        }
    }
    put<std::uint32_t>(bytes, 0, bigEndian);
    return bytes;
}

} // namespace

// The description is added to (or replaces the one of) the first page in either byte order, and the
// file stays a well-formed TIFF file with its pixel data where it was.
TEST(TiffFile, SetDescriptionKeepsTheFileValid) {
    Support::TempDir dir;
    for (bool bigEndian : {false, true}) {
        const std::string path = dir.file(bigEndian ? "big.tif" : "little.tif");
        std::ofstream(path, std::ios::binary) << smallTiff(bigEndian);
        EXPECT_EQ(TiffFile::description(path), std::nullopt);
        for (const char* text : {"first description, longer than four bytes", "abc"}) {
            ASSERT_EQ(TiffFile::setDescription(path, text), "") << path;
            EXPECT_EQ(TiffFile::description(path), text) << path;
            EXPECT_EQ(TiffFile::checkLayout(path, 4), "") << path;
        }
    }
}

// A TIFF round trip keeps the spacing of every axis and the placement exactly, in 2-D and 3-D.
TEST(TiffFile, ImagesKeepSpacingAndPlacement) {
    Support::TempDir dir;
    for (const Eigen::Vector3i& dims : {Eigen::Vector3i(9, 7, 1), Eigen::Vector3i(9, 7, 5)}) {
        auto mem = Support::randomImage(PixelType::UInt16, dims, 1, 5);
        mem->setSpacing({0.3, 0.7, 2.5});
        const Eigen::Matrix4d placement = Support::obliquePlacement();
        const SharedImageSet original(std::make_shared<SharedImage>(std::move(mem), placement));
        ASSERT_TRUE(ImageFileIO::save(original, dir.file("placed.tif")).ok());
        const auto loaded = ImageFileIO::load(dir.file("placed.tif"));
        ASSERT_TRUE(loaded) << loaded.error;
        EXPECT_EQ(loaded.images->get(0)->descriptor().spacing, Eigen::Vector3d(0.3, 0.7, 2.5));
        EXPECT_EQ(loaded.images->get(0)->matrixToWorld(), placement);
        EXPECT_TRUE(Support::sameValues(*original.mem(0), *loaded.images->mem(0)));
    }
}

// Descriptions that are not ours, are damaged, or disagree with the resolution tags are not used.
TEST(TiffFile, GeometryIsReadOnlyFromAValidDescription) {
    TiffGeometry geometry;
    geometry.spacing = {0.3, 0.7, 2.5};
    geometry.matrixToWorld = Support::obliquePlacement();
    const std::string text = geometry.text();
    const Eigen::Vector2d tags(0.3, 0.7);
    const auto parsed = TiffGeometry::parse(text, tags);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->spacing, geometry.spacing);
    EXPECT_EQ(parsed->matrixToWorld, geometry.matrixToWorld);

    const auto replaced = [&](const std::string& from, const std::string& to) {
        std::string changed = text;
        changed.replace(changed.find(from), from.size(), to);
        return changed;
    };
    const std::string rejected[] = {
        "ImageJ=1.54\nimages=5\n",
        replaced("spacing 0.29999999999999999", "spacing 0"),
        replaced("spacing 0.29999999999999999", "spacing nan"),
        replaced("matrix", "matrix 0 0 0 0 0 0 0 0 0 0 0 0"),
        text.substr(0, text.size() - 8),
    };
    for (const std::string& bad : rejected)
        EXPECT_FALSE(TiffGeometry::parse(bad, tags)) << bad;
    EXPECT_FALSE(TiffGeometry::parse(text, Eigen::Vector2d(0.3, 0.8)));
}
