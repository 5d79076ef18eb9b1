#include "TarnwickGLFoundationTestsResources.h"

#include <TarnwickCore/Resource.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>

namespace Tarnwick {
namespace {

std::string sourceFile(const std::string& relativePath) {
    std::ifstream in(std::string(TARNWICK_SOURCE_DIR) + "/tests/TarnwickGL/" + relativePath, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The build step enciphers exactly as the library deciphers: text and every byte value come back unchanged,
// while the stored bytes differ from the source.
TEST(EmbeddedResourceRepository, BuildStepAndReaderAgree) {
    const auto repository = TarnwickGLFoundationTestsResources();
    const auto* embedded = dynamic_cast<const EmbeddedResourceRepository*>(repository.get());
    ASSERT_NE(embedded, nullptr);
    EXPECT_EQ(repository->names(), (std::vector<std::string>{"Test/AllByteValues.bin", "Test/FillLabels.comp",
                                                             "Test/Passthrough.frag", "Test/Passthrough.vert"}));
    for (const auto& [name, file] :
         std::map<std::string, std::string>{{"Test/AllByteValues.bin", "data/AllByteValues.bin"},
                                            {"Test/FillLabels.comp", "Shaders/FillLabels.comp"}}) {
        const std::string source = sourceFile(file);
        ASSERT_FALSE(source.empty()) << file;
        const std::string_view stored = embedded->stored(name);
        ASSERT_EQ(stored.size(), source.size()) << name;
        std::size_t sameBytes = 0;
        for (std::size_t i = 0; i < source.size(); ++i)
            sameBytes += stored[i] == source[i];
        EXPECT_LT(sameBytes, source.size() / 16) << name << " is stored nearly in the clear";
        EXPECT_EQ(repository->read(name), source) << name;
    }
    EXPECT_EQ(repository->read("Test/Missing.comp"), std::nullopt);
    EXPECT_EQ(repository->read("FillLabels.comp"), std::nullopt);
}

class MapRepository : public ResourceRepository {
public:
    explicit MapRepository(std::map<std::string, std::string> content) : m_content(std::move(content)) {}
    std::optional<std::string> read(const std::string& name) const override {
        const auto it = m_content.find(name);
        return it == m_content.end() ? std::nullopt : std::optional<std::string>(it->second);
    }
    std::vector<std::string> names() const override { return {}; }

private:
    std::map<std::string, std::string> m_content;
};

// Later repositories take precedence; removing one uncovers the earlier one, and names nobody holds are absent.
TEST(Resource, RepositoriesSearchedNewestFirst) {
    const auto first = std::make_shared<MapRepository>(std::map<std::string, std::string>{{"a", "1"}, {"b", "1"}});
    const auto second = std::make_shared<MapRepository>(std::map<std::string, std::string>{{"a", "2"}});
    Resource::addRepository(first);
    Resource::addRepository(second);
    EXPECT_EQ(Resource::read("a"), "2");
    EXPECT_EQ(Resource::read("b"), "1");
    EXPECT_EQ(Resource::read("c"), std::nullopt);
    Resource::removeRepository(second.get());
    EXPECT_EQ(Resource::read("a"), "1");
    Resource::removeRepository(first.get());
    EXPECT_EQ(Resource::read("b"), std::nullopt);
}

} // namespace
} // namespace Tarnwick
