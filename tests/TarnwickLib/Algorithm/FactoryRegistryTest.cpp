#include "support/LogCapture.h"
#include "TestAlgorithms.h"

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>

#include <gtest/gtest.h>

using namespace Tarnwick;
using namespace Tarnwick::Test;

namespace {

class CopyFactory : public AlgorithmFactory {
public:
    CopyFactory() : AlgorithmFactory("Copies") { registerAlgorithm<CopyAlgorithm>("Copy", "Data;Copy"); }
};

class SourceFactory : public AlgorithmFactory {
public:
    SourceFactory() : AlgorithmFactory("Sources") {
        registerAlgorithm<SourceAlgorithm>("Source", "Data;Source", 2);
        registerAlgorithm<CopyAlgorithm>("Copy", "Shadowed;Copy"); // same id as in CopyFactory
    }
};

// Registers the factories for one test and removes them afterwards, like a plug-in does.
class FactoryRegistryTest : public testing::Test {
protected:
    void SetUp() override {
        registry.addAlgorithmFactory(&copies);
        registry.addAlgorithmFactory(&sources);
        registry.addAlgorithmFactory(&copies); // twice: no effect
    }
    void TearDown() override {
        registry.removeAlgorithmFactory(&copies);
        registry.removeAlgorithmFactory(&sources);
    }

    FactoryRegistry& registry = FactoryRegistry::get();
    CopyFactory copies;
    SourceFactory sources;
};

std::vector<std::string> ids(const std::vector<FactoryRegistry::AlgorithmInfo>& infos) {
    std::vector<std::string> result;
    for (const auto& info : infos)
        result.push_back(info.factoryName + ":" + info.id + ":" + info.menuName + ":" + std::to_string(info.flags));
    return result;
}

} // namespace

TEST_F(FactoryRegistryTest, OffersOnlyAlgorithmsThatFitTheSelection) {
    Data a("a"), b("b");
    EXPECT_EQ(ids(registry.compatibleAlgorithms(DataList{})), std::vector<std::string>{"Sources:Source:Data;Source:2"});
    EXPECT_EQ(ids(registry.compatibleAlgorithms(DataList{&a})),
              (std::vector<std::string>{"Copies:Copy:Data;Copy:0", "Sources:Copy:Shadowed;Copy:0"}));
    EXPECT_TRUE(registry.compatibleAlgorithms(DataList{&a, &b}).empty());
}

TEST_F(FactoryRegistryTest, CreatesFromTheFirstFactoryThatKnowsTheId) {
    Data input("input");
    auto algorithm = registry.createAlgorithm("Copy", DataList{&input});
    ASSERT_NE(algorithm, nullptr);
    EXPECT_EQ(algorithm->factoryInfo().menuName, "Data;Copy");

    Tarnwick::Test::LogCapture log;
    EXPECT_EQ(registry.createAlgorithm("Nothing", DataList{}), nullptr);
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Unknown algorithm 'Nothing'"});
}

TEST_F(FactoryRegistryTest, RemovedFactoriesAreForgotten) {
    registry.removeAlgorithmFactory(&copies);
    EXPECT_EQ(ids(registry.algorithms()),
              (std::vector<std::string>{"Sources:Source:Data;Source:2", "Sources:Copy:Shadowed;Copy:0"}));
    EXPECT_EQ(registry.findAlgorithm("Copy")->menuName, "Shadowed;Copy");
}
