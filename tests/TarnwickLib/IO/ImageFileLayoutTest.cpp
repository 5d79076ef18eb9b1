#include <TarnwickLib/IO/ImageFileIO.h>

#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using namespace Tarnwick;
using ::testing::HasSubstr;
namespace Support = Tarnwick::Test;

// MetaImage field names end at the first '=' or ':' of their line, and a name alone on its line takes
// the value after the next separator: the rank is checked wherever it is given that way (a huge rank
// makes the reader loop). A name without any value, and data file patterns the reader would format or
// step through unsafely, are refused; well-formed headers written with ':' still load.
TEST(ImageFileLayout, HeadersAreReadAsTheReadersReadThem) {
    Support::TempDir dir;
    const std::string start = "NDims = 2\nDimSize = 2 2\nElementType = MET_UCHAR\n";
    const std::string tail = "DimSize = 2 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n1234";
    const std::string rank = "NDims = 100000000000 3";
    const std::pair<std::string, std::string> refused[] = {
        {"NDims: 100000000000 3\n" + tail, rank},
        {"NDims\nDimSize = 100000000000 3\n" + tail, rank},
        {"NDims \ncomment\nDimSize : 100000000000 3\n" + tail, rank},
        {"NDims = 3\nNDims = 100000000000 3\n" + tail, rank},
        {start + "CompressedData = True\nElementDataFile\nxx", "the file ends inside a field"},
        {start + "ElementDataFile = % = x\n", "is not a file pattern"},
        {start + "ElementDataFile = slice%s.raw 1 2 1\n", "is not a file pattern"},
        {start + "ElementDataFile = slice%d.raw 1 2 0\n", "is not a file pattern"},
    };
    for (const auto& [header, message] : refused) {
        std::ofstream(dir.file("bad.mha"), std::ios::binary) << header;
        EXPECT_THAT(ImageFileIO::load(dir.file("bad.mha")).error, HasSubstr(message)) << header;
    }
    // NRRD encodings are named without case, and a header value ends at a NUL byte, for the reader too:
    // the size check sees the text encoding.
    std::ofstream(dir.file("caps.nrrd"), std::ios::binary)
        << "NRRD0004\ntype: uchar\ndimension: 3\nsizes: 1000000000 3 1\nencoding: AsCii\n\n1 2\n";
    EXPECT_THAT(ImageFileIO::load(dir.file("caps.nrrd")).error, HasSubstr("needs 3000000000 values, 2 are present"));
    std::ofstream(dir.file("nul.nrrd"), std::ios::binary)
        << std::string("NRRD0004\ntype: uchar\ndimension: 3\nsizes: 1000000000 3 1\nencoding: ascii\0\0\n\n1 2\n", 79);
    EXPECT_THAT(ImageFileIO::load(dir.file("nul.nrrd")).error, HasSubstr("needs 3000000000 values, 2 are present"));
    EXPECT_THAT(ImageFileIO::load(TARNWICK_SOURCE_DIR "/tests/data/damaged/field-name-on-its-own-line.mha").error,
                HasSubstr("the header is corrupt: " + rank));

    std::ofstream(dir.file("colons.mha"), std::ios::binary)
        << "ObjectType: Image\nNDims: 3\nDimSize: 2 2 2\nElementType: MET_UCHAR\nElementDataFile: LOCAL\n12345678";
    const auto loaded = ImageFileIO::load(dir.file("colons.mha"));
    ASSERT_TRUE(loaded) << loaded.error;
    EXPECT_EQ(loaded.images->mem(0)->maxValue(), '8');
}
