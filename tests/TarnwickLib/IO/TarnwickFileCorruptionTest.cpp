#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "TarnwickFileTestSupport.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

using namespace Tarnwick;
using Tarnwick::Test::FileBytes;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::Numbers;
using Tarnwick::Test::NumbersFilePlugin;
using Tarnwick::Test::TarnwickFileTest;
using Tarnwick::Test::TempDir;

namespace {

std::string twoRecords() {
    return FileBytes()
        .header(2)
        .record(NumbersFilePlugin::typeId, 3, "first", FileBytes::numbers({1, 2}))
        .record(NumbersFilePlugin::typeId, 3, "second", FileBytes::numbers({3}))
        .str();
}

std::string readError(const std::string& bytes) {
    std::istringstream in(bytes);
    std::string error;
    const auto loaded = TarnwickFile::read(in, nullptr, error);
    return loaded ? "loaded " + std::to_string(loaded->size()) : error;
}

std::string fileContent(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

// A stream that cannot seek, so the reader cannot learn how many bytes remain.
class ForwardOnlyBuffer : public std::streambuf {
public:
    explicit ForwardOnlyBuffer(std::string data) : m_data(std::move(data)) {
        setg(m_data.data(), m_data.data(), m_data.data() + m_data.size());
    }

private:
    std::string m_data;
};

} // namespace

std::string forwardOnlyReadError(const std::string& bytes) {
    ForwardOnlyBuffer buffer(bytes);
    std::istream in(&buffer);
    std::string error;
    const auto loaded = TarnwickFile::read(in, nullptr, error);
    return loaded ? "loaded " + std::to_string(loaded->size()) : error;
}

TEST_F(TarnwickFileTest, DamagedFilesFailWithAClearReason) {
    const std::string whole = twoRecords();
    ASSERT_EQ(readError(whole), "loaded 2");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(readError(whole.substr(0, length)).rfind("loaded", 0), 0u) << "length " << length;

    const std::uint32_t maxU32 = std::numeric_limits<std::uint32_t>::max();
    const auto recordStart = [](const std::string& name, std::uint32_t nameLength) {
        return FileBytes().header(1).value(std::uint32_t(NumbersFilePlugin::typeId)).value(std::uint32_t(3))
            .value(nameLength).text(name);
    };
    const std::string hugePayload = recordStart("x", 1).value(std::uint64_t(1) << 62).text("abc").str();
    const std::pair<std::string, std::string> cases[] = {
        {"", "not a data file (it does not start with 'TARNWICK')"},
        {"TARNWICX" + whole.substr(8), "not a data file (it does not start with 'TARNWICK')"},
        {whole.substr(0, 10), "the file ends inside its header"},
        {whole.substr(0, 20), "the file ends inside record 1 of 2"},
        {whole.substr(0, whole.size() - 1), "record 2 of 2 ('second') claims 12 bytes but only 11 remain"},
        {FileBytes().header(0, 0).str(), "unsupported format version 0 (this program reads versions 1 to 1)"},
        {FileBytes().header(0, 2).str(), "unsupported format version 2 (this program reads versions 1 to 1)"},
        {FileBytes().header(maxU32).record(NumbersFilePlugin::typeId, 3, "only", FileBytes::numbers({1})).str(),
         "the file ends inside record 2 of 4294967295"},
        {recordStart("", maxU32).str(), "record 1 of 1 has a name of 4294967295 bytes (at most 65536 are allowed)"},
        {hugePayload, "record 1 of 1 ('x') claims 4611686018427387904 bytes but only 3 remain"},
        // Claims three numbers but holds one.
        {FileBytes()
             .header(1)
             .record(NumbersFilePlugin::typeId, 3, "short", FileBytes().value(std::uint32_t(3)).value(1.0).str())
             .str(),
         "record 1 of 1 ('short', type 1001) could not be read"},
    };
    for (const auto& [bytes, error] : cases)
        EXPECT_EQ(readError(bytes), error);

    // Without seeking the reader cannot compare lengths with the file size, but still stops cleanly.
    EXPECT_EQ(forwardOnlyReadError(whole.substr(0, whole.size() - 1)), "the file ends inside record 2 of 2");
    EXPECT_EQ(forwardOnlyReadError(hugePayload), "the file ends inside record 1 of 1");
}

TEST_F(TarnwickFileTest, UnknownRecordsAndTrailingBytesAreSkippedWithAWarning) {
    LogCapture log;
    const std::string unknownFirst = FileBytes()
                                         .header(2)
                                         .record(77, 1, "future", std::string(100000, 'z'))
                                         .record(NumbersFilePlugin::typeId, 3, "known", FileBytes::numbers({5}))
                                         .str();
    EXPECT_EQ(readError(unknownFirst), "loaded 1");
    EXPECT_EQ(readError(twoRecords() + "junk"), "loaded 2");
    EXPECT_EQ(log.warnings(), (std::vector<std::string>{"Skipping record 'future' of unknown type 77",
                                                        "Ignoring data after the last of 2 records"}));
    // A skipped record must still be complete.
    EXPECT_EQ(forwardOnlyReadError(unknownFirst.substr(0, 5000)), "the file ends inside record 1 of 2");
}

TEST_F(TarnwickFileTest, MissingOrUnreadableFilesAreReported) {
    TempDir folder;
    LogCapture log;
    EXPECT_FALSE(TarnwickFile::load(folder.file("absent.tnw")));
    EXPECT_FALSE(TarnwickFile::load(folder.path().string()));
    writeFile(folder.file("text.tnw"), "hello");
    EXPECT_FALSE(TarnwickFile::load(folder.file("text.tnw")));
    EXPECT_EQ(log.errors(),
              (std::vector<std::string>{"Cannot load '" + folder.file("absent.tnw") + "': no such file",
                                        "Cannot load '" + folder.path().string() + "': not a regular file",
                                        "Cannot load '" + folder.file("text.tnw") +
                                            "': not a data file (it does not start with 'TARNWICK')"}));
}

TEST_F(TarnwickFileTest, FailedSaveKeepsThePreviousFile) {
    TempDir folder;
    const std::string path = folder.file("kept.tnw");
    Numbers original("original", {1, 2, 3});
    ASSERT_TRUE(TarnwickFile::save(path, DataList{&original}));
    const std::string before = fileContent(path);
    Numbers replacement("replacement", {4, 5});

    LogCapture log;
    numbers->failure = NumbersFilePlugin::Failure::ReturnFalse;
    EXPECT_FALSE(TarnwickFile::save(path, DataList{&replacement}));
    numbers->failure = NumbersFilePlugin::Failure::Throw;
    EXPECT_FALSE(TarnwickFile::save(path, DataList{&replacement}));

    EXPECT_EQ(log.errors(), (std::vector<std::string>{
                                "Cannot save '" + path +
                                    "': the file plug-in could not write 'replacement' (Tarnwick::Test::Numbers)",
                                "Cannot save '" + path + "': a file plug-in failed: disk on fire"}));
    EXPECT_EQ(fileContent(path), before);
    // No temporary file is left behind.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}
