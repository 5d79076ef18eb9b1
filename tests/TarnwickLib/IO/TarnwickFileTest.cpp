#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "TarnwickFileTestSupport.h"

#include <filesystem>
#include <sstream>

using namespace Tarnwick;
using Tarnwick::Test::FileBytes;
using Tarnwick::Test::GreedyFilePlugin;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::Numbers;
using Tarnwick::Test::NumbersFilePlugin;
using Tarnwick::Test::TarnwickFileTest;
using Tarnwick::Test::TempDir;

namespace {

const Numbers& numbersAt(const OwningDataList& list, std::size_t i) {
    const auto* numbers = dynamic_cast<const Numbers*>(list.get(i));
    if (!numbers)
        throw std::runtime_error("item " + std::to_string(i) + " is not a Numbers");
    return *numbers;
}

} // namespace

TEST_F(TarnwickFileTest, SavedDataLoadsBackWithNamesAndValues) {
    TempDir folder;
    Numbers first("vessel tree", {1.0, -0.0, 1e-300, 12345.678});
    Numbers empty("", {});
    Numbers unicode("Gefäße/links: ü", {42});
    ASSERT_TRUE(TarnwickFile::save(folder.file("data.tnw"), DataList{&first, &empty, &unicode}));

    auto loaded = TarnwickFile::load(folder.file("data.tnw"));
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->size(), 3u);
    EXPECT_EQ(numbersAt(*loaded, 0).name(), "vessel tree");
    EXPECT_EQ(numbersAt(*loaded, 0).values, first.values);
    EXPECT_TRUE(std::signbit(numbersAt(*loaded, 0).values[1]));
    EXPECT_EQ(numbersAt(*loaded, 1).name(), "");
    EXPECT_TRUE(numbersAt(*loaded, 1).values.empty());
    EXPECT_EQ(numbersAt(*loaded, 2).name(), "Gefäße/links: ü");
    EXPECT_EQ(numbersAt(*loaded, 2).values, std::vector<double>{42});
    // The record version written by the plug-in comes back to it, and every record is fixed up once.
    EXPECT_EQ(numbers->versionsSeen, (std::vector<unsigned int>{3, 3, 3}));
    EXPECT_EQ(numbers->fixedUp, 3);
}

TEST_F(TarnwickFileTest, WritesTheDocumentedLayout) {
    Numbers a("a", {0.5}), b("bb", {});
    std::stringstream out;
    std::string error;
    ASSERT_TRUE(TarnwickFile::write(out, DataList{&a, &b}, nullptr, error)) << error;
    const std::string expected = FileBytes()
                                     .header(2)
                                     .record(1001, 3, "a", FileBytes::numbers({0.5}))
                                     .record(1001, 3, "bb", FileBytes::numbers({}))
                                     .str();
    EXPECT_EQ(out.str(), expected);
}

TEST_F(TarnwickFileTest, ReadsTheVersion1FixtureAndSkipsItsUnknownRecord) {
    LogCapture log;
    auto loaded = TarnwickFile::load(TARNWICK_SOURCE_DIR "/tests/data/tarnwick-file/version1.tnw");
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->size(), 2u);
    EXPECT_EQ(numbersAt(*loaded, 0).name(), "first");
    EXPECT_EQ(numbersAt(*loaded, 0).values, (std::vector<double>{1.5, -2.0}));
    EXPECT_EQ(numbersAt(*loaded, 1).name(), "last");
    EXPECT_TRUE(numbersAt(*loaded, 1).values.empty());
    EXPECT_EQ(log.warnings(), std::vector<std::string>{"Skipping record 'mystery' of unknown type 999"});
    EXPECT_TRUE(log.errors().empty());
}

// A plug-in that reads to the end of its stream stops at its record's end; one that reads less has the
// rest skipped.
TEST_F(TarnwickFileTest, RecordsAreReadWithinTheirBounds) {
    const std::string bytes =
        FileBytes()
            .header(4)
            .record(GreedyFilePlugin::typeId, 0, "greedy", "12345")
            .record(NumbersFilePlugin::typeId, 3, "padded", FileBytes::numbers({7}) + "0123456789abcdef")
            .record(GreedyFilePlugin::typeId, 0, "empty", "")
            .record(NumbersFilePlugin::typeId, 3, "next", FileBytes::numbers({2}))
            .str();
    std::istringstream in(bytes);
    std::string error;
    auto loaded = TarnwickFile::read(in, nullptr, error);
    ASSERT_TRUE(loaded) << error;
    ASSERT_EQ(loaded->size(), 4u);
    EXPECT_EQ(numbersAt(*loaded, 0).values, std::vector<double>{5}); // read to its end: 5 bytes
    EXPECT_EQ(numbersAt(*loaded, 1).values, std::vector<double>{7});
    EXPECT_EQ(numbersAt(*loaded, 2).values, std::vector<double>{0});
    EXPECT_EQ(numbersAt(*loaded, 3).name(), "next");
    EXPECT_EQ(numbersAt(*loaded, 3).values, std::vector<double>{2});
}

TEST_F(TarnwickFileTest, DataWithoutPluginIsNotSaved) {
    TempDir folder;
    Numbers numbersData("n", {1});
    Data plain("plain");
    LogCapture log;
    EXPECT_FALSE(TarnwickFile::save(folder.file("x.tnw"), DataList{&numbersData, &plain}));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Cannot save '" + folder.file("x.tnw") +
                                                     "': no file plug-in can save 'plain' (Tarnwick::Data)"});
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}
