#include "support/LogCapture.h"
#include "TestAlgorithms.h"

#include <TarnwickLib/Algorithm/AlgorithmController.h>
#include <TarnwickLib/Algorithm/AlgorithmControllerFactory.h>
#include <TarnwickLib/Algorithm/AlgorithmFactory.h>
#include <TarnwickLib/Algorithm/DataAnnotationFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>

#include <gtest/gtest.h>

using namespace Tarnwick;
using namespace Tarnwick::Test;

namespace {

struct Marker : Data {
    using Data::Data;
    int tag = 0;
};

class MarkerAnnotations : public DataAnnotationFactory {
public:
    std::string dataDescription(const Data& data) const override {
        auto* marker = dynamic_cast<const Marker*>(&data);
        return marker ? "Marker " + std::to_string(marker->tag) : "";
    }
    Data* cloneData(const Data* data) const override {
        auto* marker = dynamic_cast<const Marker*>(data);
        return marker ? new Marker(*marker) : nullptr;
    }
};

struct CopyController : AlgorithmController {
    explicit CopyController(Algorithm* a) : algorithm(a) {}
    Algorithm* algorithm;
};

class CopyControllers : public AlgorithmControllerFactory {
public:
    CopyControllers() : AlgorithmControllerFactory("Copy controllers") {}
    AlgorithmController* create(Algorithm* algorithm) const override {
        return dynamic_cast<CopyAlgorithm*>(algorithm) ? new CopyController(algorithm) : nullptr;
    }
};

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
        registry.addControllerFactory(&controllers);
        registry.addAnnotationFactory(&annotations);
    }
    void TearDown() override {
        registry.removeAlgorithmFactory(&copies);
        registry.removeAlgorithmFactory(&sources);
        registry.removeControllerFactory(&controllers);
        registry.removeAnnotationFactory(&annotations);
    }

    FactoryRegistry& registry = FactoryRegistry::get();
    CopyFactory copies;
    SourceFactory sources;
    CopyControllers controllers;
    MarkerAnnotations annotations;
};

std::vector<std::string> ids(const std::vector<FactoryRegistry::AlgorithmInfo>& infos) {
    std::vector<std::string> result;
    for (const auto& info : infos)
        result.push_back(info.factoryName + ":" + info.id + ":" + info.menuName + ":" + std::to_string(info.flags));
    return result;
}

} // namespace

TEST_F(FactoryRegistryTest, ListsEveryAlgorithmFactoryByFactory) {
    EXPECT_EQ(ids(registry.algorithms()),
              (std::vector<std::string>{"Copies:Copy:Data;Copy:0", "Sources:Source:Data;Source:2",
                                        "Sources:Copy:Shadowed;Copy:0"}));
}

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

TEST_F(FactoryRegistryTest, AsksAnnotationFactoriesAndFallsBackToTheData) {
    Marker marker("m");
    marker.tag = 42;
    Data plain("plain");
    EXPECT_EQ(registry.describe(marker), "Marker 42");
    EXPECT_EQ(registry.describe(plain), plain.describe());

    auto copy = registry.cloneData(&marker);
    ASSERT_NE(dynamic_cast<Marker*>(copy.get()), nullptr);
    EXPECT_EQ(static_cast<Marker*>(copy.get())->tag, 42);
    EXPECT_NE(copy.get(), &marker);
    EXPECT_EQ(registry.cloneData(&plain), nullptr);
    EXPECT_EQ(registry.cloneData(nullptr), nullptr);
}

TEST_F(FactoryRegistryTest, CreatesControllersOnlyForKnownAlgorithms) {
    Data input("input");
    auto copy = registry.createAlgorithm("Copy", DataList{&input});
    auto source = registry.createAlgorithm("Source", DataList{});
    auto controller = registry.createController(copy.get());
    ASSERT_NE(dynamic_cast<CopyController*>(controller.get()), nullptr);
    EXPECT_EQ(static_cast<CopyController*>(controller.get())->algorithm, copy.get());
    EXPECT_EQ(registry.createController(source.get()), nullptr);
    EXPECT_EQ(registry.createController(nullptr), nullptr);
}

TEST_F(FactoryRegistryTest, RemovedFactoriesAreForgotten) {
    registry.removeAlgorithmFactory(&copies);
    registry.removeAnnotationFactory(&annotations);
    registry.removeControllerFactory(&controllers);
    Marker marker("m");
    EXPECT_EQ(ids(registry.algorithms()),
              (std::vector<std::string>{"Sources:Source:Data;Source:2", "Sources:Copy:Shadowed;Copy:0"}));
    EXPECT_EQ(registry.findAlgorithm("Copy")->menuName, "Shadowed;Copy");
    EXPECT_EQ(registry.describe(marker), marker.describe());
    EXPECT_TRUE(registry.controllerFactories().empty());
    EXPECT_TRUE(registry.annotationFactories().empty());
}

TEST(DataAnnotationFactory, DefaultAttributesNameAndDescribeTheData) {
    DataAnnotationFactory factory;
    Data data("liver");
    EXPECT_EQ(factory.dataAttributes(data),
              (std::vector<std::pair<std::string, std::string>>{{"Name", "liver"}, {"Description", data.describe()}}));
}
