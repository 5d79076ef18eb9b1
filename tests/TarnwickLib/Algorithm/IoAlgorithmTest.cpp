#include <TarnwickLib/Algorithm/AlgorithmUtils.h>
#include <TarnwickLib/Algorithm/IoAlgorithm.h>

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

class TextIo : public IoAlgorithm {
public:
    explicit TextIo(Mode mode) : IoAlgorithm(mode) {}
    std::vector<std::string> supportedFileExtensions() const override { return {"txt", "Text"}; }
    void compute() override {}

    Parameter<bool> verbose{"verbose", false, this};
};

} // namespace

TEST(IoAlgorithm, RecognisesSupportedExtensionsWithoutRegardToCase) {
    TextIo io(IoAlgorithm::Load);
    EXPECT_EQ(io.ioMode(), IoAlgorithm::Load);
    EXPECT_TRUE(io.canLoad("/data/notes.txt"));
    EXPECT_TRUE(io.canLoad("NOTES.TXT"));
    EXPECT_TRUE(io.canLoad("notes.text"));
    EXPECT_FALSE(io.canLoad("notes.txt.gz"));
    EXPECT_FALSE(io.canLoad(""));
    EXPECT_EQ(io.supportedLocations(), (std::vector<std::string>{"*.txt", "*.Text"}));
}

TEST(IoAlgorithm, SuggestsASafeFileNameFromTheFirstInput) {
    TextIo io(IoAlgorithm::Save);
    EXPECT_EQ(io.suggestedSaveFileName(), "untitled.txt");
    Data input("left/right: *tree*");
    io.setFactoryInfo({"TextIo", "IO;Text", DataList{&input}});
    EXPECT_EQ(io.suggestedSaveFileName(), "left_right_ _tree_.txt");
}

TEST(AlgorithmUtils, SplitsMenuNamesAndRejectsEmptyParts) {
    std::vector<std::string> parts{"stale"};
    EXPECT_TRUE(AlgorithmUtils::parseAlgorithmName("Graph;Centerline Graph Extraction", parts));
    EXPECT_EQ(parts, (std::vector<std::string>{"Graph", "Centerline Graph Extraction"}));
    EXPECT_TRUE(AlgorithmUtils::parseAlgorithmName("Tools", parts));
    EXPECT_EQ(parts, std::vector<std::string>{"Tools"});

    for (const char* bad : {"", "Graph;", ";Title", "A;;B", " ; "}) {
        EXPECT_FALSE(AlgorithmUtils::parseAlgorithmName(bad, parts)) << bad;
        EXPECT_TRUE(parts.empty()) << bad;
    }
}
