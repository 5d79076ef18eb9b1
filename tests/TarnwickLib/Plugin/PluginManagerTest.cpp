#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/IO/TarnwickFile.h>
#include <TarnwickLib/Plugin/PluginAutoRegistrationGuard.h>
#include <TarnwickLib/Plugin/PluginBase.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <gtest/gtest.h>

#include <fstream>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

const std::string pluginFolder = TEST_PLUGIN_DIR;

std::string library(const std::string& name) {
    return pluginFolder + "/lib" + name + ".so";
}

std::vector<std::string> loadedIds(const PluginManager& manager) {
    std::vector<std::string> ids;
    for (const auto& plugin : manager.loadedPlugins())
        ids.push_back(plugin.id);
    return ids;
}

std::vector<std::string> refusals(const PluginManager& manager) {
    std::vector<std::string> result;
    for (const auto& refused : manager.refusedPlugins())
        result.push_back("Skipping plug-in '" + refused.path + "': " + refused.reason);
    return result;
}

std::vector<std::string> algorithmFactoryNames() {
    std::vector<std::string> names;
    for (const AlgorithmFactory* factory : FactoryRegistry::get().algorithmFactories())
        names.push_back(factory->name());
    return names;
}

} // namespace

TEST(PluginManager, LoadsCompatiblePluginsInDependencyOrderAndRefusesEachBadLibraryWithItsReason) {
    LogCapture log;
    const std::size_t filePluginsBefore = TarnwickFile::plugins().size();
    PluginManager manager;
    manager.loadFolders({pluginFolder});
    manager.loadLibraries({library("TestAccepted")});

    // libTestADependent.so comes first by name but needs Test.Accepted.
    EXPECT_EQ(loadedIds(manager), (std::vector<std::string>{"Test.Accepted", "Test.Dependent"}));
    EXPECT_EQ(manager.loadedPlugins().front().pluginVersion, "1.2");
    const std::vector<std::string> expected{
        "Skipping plug-in '" + library("TestBuildFlags") +
            "': build flag mismatch 'NONE' vs 'GLIBCXX_DEBUG:_GLIBCXX_DEBUG'",
        "Skipping plug-in '" + library("TestNoCreate") + "': missing symbol tarnwickCreatePlugin",
        "Skipping plug-in '" + library("TestOldHost") + "': host version mismatch 4.4.2 vs 4.5.0",
        "Skipping plug-in '" + library("TestWrongMagic") + "': wrong magic '__OTHER_MAGIC__' in its descriptor",
        "Skipping plug-in '" + library("TestInitFails") + "': init() returned 7",
        "Skipping plug-in '" + library("TestMissingDependency") + "': missing dependency 'Test.Absent'",
        "Skipping plug-in '" + library("TestAccepted") + "': plug-in id 'Test.Accepted' is already loaded",
    };
    EXPECT_EQ(log.warnings(), expected);
    EXPECT_EQ(refusals(manager), expected);

    // The plug-in whose init() failed left nothing registered behind.
    EXPECT_EQ(algorithmFactoryNames(), (std::vector<std::string>{"Test.Accepted", "Test.Dependent"}));
    EXPECT_EQ(TarnwickFile::plugins().size(), filePluginsBefore + 2);
}

TEST(PluginManager, LoadedPluginsWorkAndUnloadingWithdrawsWhatTheyRegistered) {
    const std::size_t filePluginsBefore = TarnwickFile::plugins().size();
    Tarnwick::Test::TempDir folder;
    {
        LogCapture log;
        PluginManager manager;
        manager.loadLibraries({library("TestAccepted")});
        ASSERT_EQ(loadedIds(manager), std::vector<std::string>{"Test.Accepted"});
        // Extra exports are reached through the plug-in's id.
        EXPECT_NE(manager.symbol("Test.Accepted", "tarnwickCreatePlugin"), nullptr);
        EXPECT_EQ(manager.symbol("Test.Accepted", "noSuchEntryPoint"), nullptr);
        EXPECT_EQ(manager.symbol("Test.Missing", "tarnwickCreatePlugin"), nullptr);

        FactoryRegistry& registry = FactoryRegistry::get();
        auto algorithm = registry.createAlgorithm("Greeting", DataList{});
        ASSERT_NE(algorithm, nullptr);
        ASSERT_EQ(algorithm->parameter("repeat")->setFromString("2"), std::nullopt);
        algorithm->compute();
        ASSERT_EQ(algorithm->output().size(), 2u);
        EXPECT_EQ(algorithm->output().get(1)->name(), "hello");

        // The plug-in's file plug-in reads and writes records of the container.
        Data hello("hello");
        ASSERT_TRUE(TarnwickFile::save(folder.file("hello.tnw"), DataList{&hello}));
        auto loaded = TarnwickFile::load(folder.file("hello.tnw"));
        ASSERT_TRUE(loaded);
        ASSERT_EQ(loaded->size(), 1u);
        EXPECT_EQ(loaded->get(0)->name(), "hello");
    }
    FactoryRegistry& registry = FactoryRegistry::get();
    EXPECT_TRUE(registry.algorithmFactories().empty());
    EXPECT_EQ(TarnwickFile::plugins().size(), filePluginsBefore);
}

TEST(PluginManager, ReportsFilesThatAreNotLibrariesAndMissingFolders) {
    Tarnwick::Test::TempDir folder;
    std::ofstream(folder.file("libGarbage.so")) << "not a library";
    std::ofstream(folder.file("notes.txt")) << "ignored";
    std::ofstream(folder.file("libVersioned.so.1")) << "ignored";

    LogCapture log;
    PluginManager manager;
    manager.loadFolders({folder.path().string(), "/nonexistent/tarnwick-plugins"});

    ASSERT_EQ(manager.refusedPlugins().size(), 1u);
    EXPECT_EQ(manager.refusedPlugins()[0].path, folder.file("libGarbage.so"));
    EXPECT_EQ(manager.refusedPlugins()[0].reason.rfind("cannot open the library: ", 0), 0u)
        << manager.refusedPlugins()[0].reason;
    EXPECT_TRUE(log.contains("Plug-in folder '/nonexistent/tarnwick-plugins' does not exist", Log::Warning));
    EXPECT_TRUE(manager.loadedPlugins().empty());
}

TEST(PluginManager, RefusesAPluginThatIsAlreadyPartOfTheApplication) {
    // Stands for a copy of the plug-in linked into the executable.
    PluginAutoRegistrationGuard linkedCopy([]() -> const char* { return "Test.Linked"; });
    LogCapture log;
    PluginManager manager;
    manager.loadFolders({LINKED_PLUGIN_DIR});
    EXPECT_TRUE(manager.loadedPlugins().empty());
    EXPECT_EQ(refusals(manager), std::vector<std::string>{"Skipping plug-in '" LINKED_PLUGIN_DIR
                                                          "/libTestLinked.so': plug-in 'Test.Linked' is already "
                                                          "part of the application"});
}
