// NIfTI pixel data read without the general reader: narrowing of wide integer masks, and compressed
// streams in several members or holding more than the header announces.
#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <fstream>
#include <sstream>

using namespace Tarnwick;

namespace {

/// A 37 x 29 x 23 image (odd sizes: blocks and pages never line up) of `type` whose value at index i is
/// `valueAt(i)`.
template <typename T>
SharedImageSet patterned(T (*valueAt)(std::size_t)) {
    ImageDescriptor descriptor(PixelType::UInt8, {37, 29, 23}, 1, Eigen::Vector3d(0.5, 0.75, 2.0));
    auto image = TypedImage<T>::create(descriptor);
    for (std::size_t i = 0; i < image->descriptor().numValues(); ++i)
        image->pointer()[i] = valueAt(i);
    return SharedImageSet(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(image))));
}

template <typename T, typename U>
void expectSameValues(const SharedImage& expected, const SharedImage& loaded) {
    const auto* a = static_cast<const T*>(expected.mem()->data());
    const auto* b = static_cast<const U*>(loaded.mem()->data());
    const std::size_t count = expected.descriptor().numValues();
    std::size_t differing = 0;
    for (std::size_t i = 0; i < count; ++i)
        differing += static_cast<double>(a[i]) != static_cast<double>(b[i]);
    EXPECT_EQ(differing, 0u);
    EXPECT_TRUE(loaded.matrixToWorld().isApprox(expected.matrixToWorld(), 1e-6));
}

std::string gzipped(const std::string& bytes) {
    std::string out(compressBound(bytes.size()) + 64, '\0');
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeAll(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace

TEST(NiftiPixelReader, NarrowsWideIntegerMasksOnlyWhenEveryValueFits) {
    Tarnwick::Test::TempDir dir;
    const SharedImageSet mask = patterned<short>([](std::size_t i) { return short(i * 7919 % 13 == 0 ? i % 256 : 0); });
    const SharedImageSet wide = patterned<unsigned int>([](std::size_t i) { return i == 24000 ? 256u : 1u; });
    ImageFileIO::LoadOptions narrow;
    narrow.narrowIntegers = true;
    for (const char* name : {"mask.nii", "mask.nii.gz"}) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(ImageFileIO::save(mask, dir.file(name)).ok());
        const ImageFileIO::LoadResult narrowed = ImageFileIO::load(dir.file(name), narrow);
        ASSERT_TRUE(narrowed) << narrowed.error;
        ASSERT_EQ(narrowed.images->get(0)->descriptor().pixelType, PixelType::UInt8);
        expectSameValues<short, unsigned char>(*mask.get(0), *narrowed.images->get(0));
        const ImageFileIO::LoadResult kept = ImageFileIO::load(dir.file(name));
        ASSERT_EQ(kept.images->get(0)->descriptor().pixelType, PixelType::Int16);
        expectSameValues<short, short>(*mask.get(0), *kept.images->get(0));
    }
    ASSERT_TRUE(ImageFileIO::save(wide, dir.file("wide.nii.gz")).ok());
    const ImageFileIO::LoadResult notMask = ImageFileIO::load(dir.file("wide.nii.gz"), narrow);
    ASSERT_TRUE(notMask) << notMask.error;
    ASSERT_EQ(notMask.images->get(0)->descriptor().pixelType, PixelType::UInt32);
    expectSameValues<unsigned int, unsigned int>(*wide.get(0), *notMask.images->get(0));
}

TEST(NiftiPixelReader, ReadsStreamsInSeveralMembersOrLongerThanAnnouncedAndRefusesShortOnes) {
    Tarnwick::Test::TempDir dir;
    const SharedImageSet image = patterned<float>([](std::size_t i) { return float(i) * 0.25f - 100.0f; });
    ASSERT_TRUE(ImageFileIO::save(image, dir.file("plain.nii")).ok());
    const std::string nifti = readAll(dir.file("plain.nii"));
    const std::size_t half = nifti.size() / 2 + 3;
    struct Case {
        const char* name;
        std::string content;
        bool loads;
    };
    for (const Case& c : {Case{"members.nii.gz", gzipped(nifti.substr(0, half)) + gzipped(nifti.substr(half)), true},
                          Case{"longer.nii.gz", gzipped(nifti + std::string(5000, '\7')), true},
                          Case{"short.nii.gz", gzipped(nifti.substr(0, nifti.size() - 4)), false}}) {
        SCOPED_TRACE(c.name);
        writeAll(dir.file(c.name), c.content);
        const ImageFileIO::LoadResult loaded = ImageFileIO::load(dir.file(c.name));
        ASSERT_EQ(bool(loaded), c.loads) << loaded.error;
        if (c.loads)
            expectSameValues<float, float>(*image.get(0), *loaded.images->get(0));
        else
            EXPECT_NE(loaded.error.find("truncated"), std::string::npos) << loaded.error;
    }
}
