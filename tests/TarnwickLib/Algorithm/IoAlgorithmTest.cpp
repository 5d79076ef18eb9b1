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
    EXPECT_FALSE(io.canLoad("txt"));
    EXPECT_FALSE(io.canLoad(""));
    EXPECT_EQ(io.supportedLocations(), (std::vector<std::string>{"*.txt", "*.Text"}));
}

TEST(IoAlgorithm, LocationIsASavedParameter) {
    TextIo io(IoAlgorithm::Save);
    io.setLocation("/tmp/out.txt");
    Properties properties;
    io.configuration(&properties);
    EXPECT_EQ(properties.paramOr<std::string>("location", ""), "/tmp/out.txt");

    TextIo restored(IoAlgorithm::Save);
    restored.configure(&properties);
    EXPECT_EQ(restored.location(), "/tmp/out.txt");
}

TEST(IoAlgorithm, SuggestsASafeFileNameFromTheFirstInput) {
    TextIo io(IoAlgorithm::Save);
    EXPECT_EQ(io.suggestedSaveFileName(), "untitled.txt");
    Data input("left/right: *tree*");
    io.setFactoryInfo({"TextIo", "IO;Text", DataList{&input}});
    EXPECT_EQ(io.suggestedSaveFileName(), "left_right_ _tree_.txt");
}

TEST(IoAlgorithm, TakesDefaultsFromTheGroupNamedAfterItsIdentifier) {
    Properties& settings = IoAlgorithm::globalSettings();
    settings.addSubProperties("TextIo")->setParam("verbose", true);
    settings.addSubProperties("OtherIo")->setParam("verbose", false);

    TextIo unnamed(IoAlgorithm::Load);
    unnamed.configureFromGlobalSettings();
    EXPECT_FALSE(unnamed.verbose.value());

    TextIo io(IoAlgorithm::Load);
    io.setFactoryInfo({"TextIo", "IO;Text", {}});
    io.configureFromGlobalSettings();
    EXPECT_TRUE(io.verbose.value());
    settings.clear();
}

TEST(AlgorithmUtils, SplitsMenuNamesAndRejectsEmptyParts) {
    std::vector<std::string> parts{"stale"};
    EXPECT_TRUE(AlgorithmUtils::parseAlgorithmName("Graph;Centerline Graph Extraction", parts));
    EXPECT_EQ(parts, (std::vector<std::string>{"Graph", "Centerline Graph Extraction"}));
    EXPECT_TRUE(AlgorithmUtils::parseAlgorithmName("Tools", parts));
    EXPECT_EQ(parts, std::vector<std::string>{"Tools"});
    EXPECT_TRUE(AlgorithmUtils::parseAlgorithmName("A;B;C", parts));
    EXPECT_EQ(parts.size(), 3u);

    for (const char* bad : {"", "Graph;", ";Title", "A;;B", " ; "}) {
        EXPECT_FALSE(AlgorithmUtils::parseAlgorithmName(bad, parts)) << bad;
        EXPECT_TRUE(parts.empty()) << bad;
    }
}
