#include "support/LogCapture.h"
#include "TestAlgorithms.h"

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

#include <gtest/gtest.h>

using namespace Tarnwick;
using namespace Tarnwick::Test;

namespace {

class SampleFactory : public AlgorithmFactory {
public:
    SampleFactory() : AlgorithmFactory("Sample") {
        registerAlgorithm<CopyAlgorithm>("Copy", "Data;Copy", 4);
        registerAlgorithm<SourceAlgorithm>("Source", "Data;Source");
        registerAlgorithm<ThrowingAlgorithm>("Throwing", "Data;Throwing");
        registerAlgorithm<LyingAlgorithm>("Lying", "Data;Lying");
    }
};

} // namespace

TEST(AlgorithmFactory, CreatesAWorkingAlgorithmWithItsFactoryInfo) {
    SampleFactory factory;
    Data input("vessels");
    auto algorithm = factory.create("Copy", DataList{&input});
    ASSERT_NE(algorithm, nullptr);
    EXPECT_EQ(algorithm->factoryInfo().id, "Copy");
    EXPECT_EQ(algorithm->factoryInfo().menuName, "Data;Copy");
    EXPECT_EQ(algorithm->factoryInfo().inputs.items(), std::vector<Data*>{&input});

    algorithm->compute();
    EXPECT_EQ(algorithm->status(), Algorithm::Success);
    ASSERT_EQ(algorithm->output().size(), 1u);
    OwningDataList output = algorithm->takeOutput();
    EXPECT_TRUE(algorithm->output().empty());
    ASSERT_EQ(output.size(), 1u);
    EXPECT_EQ(output.get(0)->name(), "copy of vessels");
}

TEST(AlgorithmFactory, RefusalsAreLoggedAndGiveNoAlgorithm) {
    SampleFactory factory;
    Data a("a");
    Tarnwick::Test::LogCapture log;
    EXPECT_EQ(factory.create("Missing", DataList{}), nullptr);
    EXPECT_EQ(factory.create("Copy", DataList{}), nullptr);
    EXPECT_EQ(factory.create("Lying", DataList{}), nullptr);
    EXPECT_EQ(factory.create("Throwing", DataList{&a}), nullptr);
    EXPECT_FALSE(factory.isCompatible("Throwing", DataList{}));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{
                                "Unknown algorithm 'Missing'",
                                "Algorithm 'Copy' cannot run on the given input (0 data sets)",
                                "Algorithm 'Lying' cannot run on the given input (0 data sets)",
                                "Algorithm 'Throwing' failed to test its input: broken test",
                                "Algorithm 'Throwing' cannot run on the given input (1 data sets)",
                                "Algorithm 'Throwing' failed to test its input: broken test",
                            }));
}

TEST(AlgorithmFactory, RefusesEmptyAndDuplicateIdentifiers) {
    SampleFactory factory;
    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(factory.registerAlgorithm<SourceAlgorithm>("Copy", "Other;Copy"));
    EXPECT_FALSE(factory.registerAlgorithm<SourceAlgorithm>("", "Other;Nameless"));
    EXPECT_EQ(factory.entries().size(), 4u);
    EXPECT_EQ(factory.entry("Copy")->menuName, "Data;Copy");
    EXPECT_EQ(log.errors(),
              (std::vector<std::string>{"Factory 'Sample': algorithm 'Copy' is already registered",
                                        "Factory 'Sample': cannot register an algorithm without an identifier"}));
}
