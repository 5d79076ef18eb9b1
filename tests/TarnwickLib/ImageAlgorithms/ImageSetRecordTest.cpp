#include "support/TempDir.h"
#include "support/TestImages.h"

#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/IO/ImageSetRecord.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>

using namespace Tarnwick;
using Tarnwick::Test::obliquePlacement;
using Tarnwick::Test::randomImage;
using Tarnwick::Test::sameValues;

namespace {

// Byte offsets of fields of the record of a set whose first image starts right after the set header.
constexpr std::size_t versionOffset = 0;
constexpr std::size_t setModalityOffset = 4;
constexpr std::size_t selectedOffset = 8 + 128;
constexpr std::size_t firstImageOffset = selectedOffset + 4 + 4;
constexpr std::size_t pixelTypeOffset = firstImageOffset;
constexpr std::size_t dimensionYOffset = firstImageOffset + 8;
constexpr std::size_t spacingZOffset = firstImageOffset + 20 + 16;
constexpr std::size_t imageModalityOffset = firstImageOffset + 44 + 128;
constexpr std::size_t byteCountOffset = imageModalityOffset + 4;

// Two images of `type` with different placements and modalities; the set's own matrix differs from
// both and the second image is selected, so every stored field matters.
std::unique_ptr<SharedImageSet> sampleSet(PixelType type, const Eigen::Vector3i& dimensions) {
    auto set = std::make_unique<SharedImageSet>("sample");
    set->setModality(Data::CT);
    auto first = std::shared_ptr<MemImage>(randomImage(type, dimensions, 1, 7));
    first->setSpacing({0.25, 0.5, 1.75});
    auto second = std::shared_ptr<MemImage>(randomImage(type, dimensions, 2, 8));
    second->setSpacing({3.0, 0.125, 2.5});
    set->add(std::make_shared<SharedImage>(first, obliquePlacement(0.3), Data::Label));
    set->add(std::make_shared<SharedImage>(second, obliquePlacement(-1.1, {1, 2, 3}), Data::Distance));
    set->Data::setMatrixToWorld(obliquePlacement(2.0, {-4, 0, 9}));
    set->setSelectedIndex(1);
    return set;
}

std::string recordBytes(const SharedImageSet& set) {
    std::ostringstream out;
    EXPECT_TRUE(ImageSetRecord::write(set, out));
    return out.str();
}

// The error of reading `bytes`, or "ok" when the read succeeds.
std::string readError(const std::string& bytes) {
    std::istringstream in(bytes);
    SharedImageSet set;
    std::string error;
    return ImageSetRecord::read(set, in, error) ? "ok" : error;
}

template <typename T>
void patch(std::string& bytes, std::size_t offset, T value) {
    ASSERT_LE(offset + sizeof(T), bytes.size());
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

void expectSameSet(const SharedImageSet& expected, const SharedImageSet& actual) {
    EXPECT_EQ(actual.name(), expected.name());
    EXPECT_EQ(actual.modality(), expected.modality());
    EXPECT_EQ(actual.matrixToWorld(), expected.matrixToWorld());
    EXPECT_EQ(actual.selectedIndex(), expected.selectedIndex());
    ASSERT_EQ(actual.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE("image " + std::to_string(i));
        EXPECT_EQ(actual.get(i)->descriptor(), expected.get(i)->descriptor());
        EXPECT_TRUE(sameValues(*actual.mem(i), *expected.mem(i)));
        EXPECT_EQ(actual.get(i)->matrixToWorld(), expected.get(i)->matrixToWorld());
        EXPECT_EQ(actual.get(i)->modality(), expected.get(i)->modality());
    }
}

class ImageSetRecordRoundTrip : public ::testing::TestWithParam<std::tuple<PixelType, bool>> {
protected:
    void SetUp() override { registerHostAlgorithms(); }
};

} // namespace

TEST_P(ImageSetRecordRoundTrip, DataFileReproducesEveryField) {
    const auto [type, is2D] = GetParam();
    const auto set = sampleSet(type, is2D ? Eigen::Vector3i(5, 4, 1) : Eigen::Vector3i(5, 4, 3));
    std::stringstream file;
    std::string error;
    ASSERT_TRUE(TarnwickFile::write(file, DataList{set.get()}, nullptr, error)) << error;
    auto loaded = TarnwickFile::read(file, nullptr, error);
    ASSERT_TRUE(loaded) << error;
    ASSERT_EQ(loaded->size(), 1u);
    const auto* images = dynamic_cast<const SharedImageSet*>(loaded->get(0));
    ASSERT_NE(images, nullptr);
    expectSameSet(*set, *images);
}

INSTANTIATE_TEST_SUITE_P(AllPixelTypes, ImageSetRecordRoundTrip,
                         ::testing::Combine(::testing::Values(PixelType::Int8, PixelType::UInt8, PixelType::Int16,
                                                              PixelType::UInt16, PixelType::Int32, PixelType::UInt32,
                                                              PixelType::Float, PixelType::Double),
                                            ::testing::Bool()),
                         [](const auto& info) {
                             return std::string(pixelTypeName(std::get<0>(info.param))) +
                                    (std::get<1>(info.param) ? "_2D" : "_3D");
                         });

TEST(ImageSetRecord, DamagedRecordsFailNamingTheField) {
    const std::string whole = recordBytes(*sampleSet(PixelType::UInt8, {3, 2, 2}));
    ASSERT_EQ(readError(whole), "ok");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(readError(whole.substr(0, length)), "ok") << "prefix of " << length << " bytes";

    const auto damaged = [&](std::size_t offset, auto value) {
        std::string bytes = whole;
        patch(bytes, offset, value);
        return bytes;
    };
    // A header declaring 2000^3 doubles (64 GB) followed by a few bytes: the read stops at the end of
    // the stream instead of allocating the declared size.
    std::string huge = recordBytes(*sampleSet(PixelType::Double, {1, 1, 1}));
    huge.resize(byteCountOffset + 8);
    for (std::size_t axis = 0; axis < 3; ++axis)
        patch(huge, firstImageOffset + 4 + 4 * axis, std::int32_t(2000));
    patch(huge, byteCountOffset, std::uint64_t(8) * 2000 * 2000 * 2000);
    huge += std::string(1000, '\0');
    const std::pair<std::string, std::string> cases[] = {
        {whole.substr(0, whole.size() - 1), "image 2 of 2: the record ends inside the values (24 bytes expected)"},
        {damaged(versionOffset, std::uint32_t(2)), "unsupported image record version 2 (this program reads version 1)"},
        {damaged(setModalityOffset, std::uint32_t(9)), "unknown image set modality 9"},
        {damaged(selectedOffset, std::int32_t(2)), "selected image 2 is not one of the 2 images"},
        {damaged(pixelTypeOffset, std::int32_t(5127)), "image 1 of 2: unknown pixel type code 5127"},
        {damaged(imageModalityOffset, std::uint32_t(100)), "image 1 of 2: unknown modality 100"},
        {damaged(byteCountOffset, std::uint64_t(13)),
         "image 1 of 2: 13 value bytes stored but the descriptor (uint8 3x2x2 x1 spacing 0.25x0.5x1.75) needs 12"},
        {huge, "image 1 of 2: the record ends inside the values (64000000000 bytes expected)"},
    };
    for (const auto& [bytes, error] : cases)
        EXPECT_EQ(readError(bytes), error);
    EXPECT_NE(readError(damaged(dimensionYOffset, std::int32_t(-2))).find("image 1 of 2: "), std::string::npos);
    EXPECT_NE(readError(damaged(spacingZOffset, std::numeric_limits<double>::quiet_NaN())).find("image 1 of 2: "),
              std::string::npos);
}

TEST(ImageSetRecord, FixtureOfVersionOneStillLoads) {
    registerHostAlgorithms();
    const auto loaded = TarnwickFile::load(std::string(TARNWICK_SOURCE_DIR) + "/tests/data/images/image-set-v1.tnw");
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->size(), 1u);
    const auto* set = dynamic_cast<const SharedImageSet*>(loaded->get(0));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->name(), "fixture");
    EXPECT_EQ(set->modality(), Data::Label);
    ASSERT_EQ(set->size(), 1);
    const SharedImage& image = *set->get(0);
    EXPECT_EQ(image.descriptor(), ImageDescriptor(PixelType::UInt16, {4, 3, 2}, 1, {0.5, 0.75, 2.0}));
    // The fixture's generator writes value 7 * i + 3 at linear index i and translates by (10, -20, 30).
    const auto* values = image.typed<unsigned short>();
    ASSERT_NE(values, nullptr);
    for (int i = 0; i < 24; ++i)
        EXPECT_EQ(values->pointer()[i], 7 * i + 3) << i;
    EXPECT_EQ(Eigen::Vector3d(image.matrixToWorld().col(3).head(3)), Eigen::Vector3d(10, -20, 30));
}
