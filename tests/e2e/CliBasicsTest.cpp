#include "CliRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sstream>

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::runCli;

namespace {

const std::string pluginFolder = TEST_PLUGIN_DIR;

// Runs with only the test plug-ins (never those that happen to lie next to the executable).
CliResult runWithTestPlugins(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", pluginFolder});
    return runCli(arguments);
}

} // namespace

TEST(CliBasics, VersionAndHelp) {
    const CliResult version = runCli({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "tarnwick-cli 4.5.0\n");

    const CliResult help = runCli({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* word : {"plugins", "algorithms", "--plugin-dir", "--log-level"})
        EXPECT_TRUE(contains(help.out, word)) << word;
}

TEST(CliBasics, BadArgumentsFailWithAReason) {
    struct Case {
        std::vector<std::string> arguments;
        std::string reason;
    };
    const std::vector<Case> cases{
        {{}, "A subcommand is required"},
        {{"frobnicate"}, "frobnicate"},
        {{"--log-level", "9", "plugins"}, "--log-level"},
        {{"--log-level", "loud", "plugins"}, "--log-level"},
        {{"--plugin-dir", "/nonexistent/plug-ins", "plugins"}, "/nonexistent/plug-ins"},
        {{"algorithms", "--colour"}, "--colour"},
        {{"plugins", "algorithms"}, "algorithms"},
    };
    for (const Case& c : cases) {
        const CliResult result = runCli(c.arguments);
        const std::string shown = ::testing::PrintToString(c.arguments);
        EXPECT_NE(result.exitCode, 0) << shown;
        EXPECT_TRUE(contains(result.err, c.reason)) << shown << ": " << result.err;
        EXPECT_EQ(result.out, "") << shown;
    }
}

TEST(CliBasics, PluginsListsLoadedAndRefusedLibraries) {
    const CliResult result = runWithTestPlugins({"plugins"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::string expected = "Plug-in folders searched:\n  " + pluginFolder + "\nLoaded plug-ins:\n";
    for (const auto& [id, library] : {std::pair{"Test.Accepted", "TestAccepted"}, {"Test.Dependent", "TestADependent"}})
        expected += std::string("  ") + id + " 1.2: Plug-in for testing the host (by Tarnwick tests)\n    " +
                    pluginFolder + "/lib" + library + ".so\n";
    expected += "Refused plug-ins:\n";
    const std::pair<const char*, const char*> refused[] = {
        {"TestBuildFlags", "build flag mismatch 'NONE' vs 'GLIBCXX_DEBUG:_GLIBCXX_DEBUG'"},
        {"TestNoCreate", "missing symbol tarnwickCreatePlugin"},
        {"TestOldHost", "host version mismatch 4.4.2 vs 4.5.0"},
        {"TestWrongMagic", "wrong magic '__OTHER_MAGIC__' in its descriptor"},
        {"TestInitFails", "init() returned 7"},
        {"TestMissingDependency", "missing dependency 'Test.Absent'"},
    };
    for (const auto& [library, reason] : refused)
        expected += "  " + pluginFolder + "/lib" + library + ".so\n    " + reason + "\n";
    EXPECT_EQ(result.out, expected);
    // The refusals are also logged as warnings, unless the log level hides them.
    EXPECT_TRUE(contains(result.err, "[WARNING] PluginManager: Skipping plug-in '" + pluginFolder +
                                         "/libTestOldHost.so': host version mismatch 4.4.2 vs 4.5.0"));
    EXPECT_EQ(runWithTestPlugins({"--log-level", "4", "plugins"}).err, "");
}

TEST(CliBasics, WithoutPluginsSaysSo) {
    Tarnwick::Test::TempDir empty;
    const CliResult plugins = runCli({"--no-default-plugins", "--plugin-dir", empty.path().string(), "plugins"});
    EXPECT_EQ(plugins.exitCode, 0);
    EXPECT_EQ(plugins.out, "Plug-in folders searched:\n  " + empty.path().string() +
                               "\nLoaded plug-ins: none\nRefused plug-ins: none\n");
    const CliResult algorithms = runCli({"--no-default-plugins", "algorithms"});
    EXPECT_EQ(algorithms.exitCode, 0);
    EXPECT_TRUE(contains(algorithms.out, "identifier"));
    EXPECT_FALSE(contains(algorithms.out, "Test;Greeting"));
}

TEST(CliBasics, AlgorithmsListsIdentifiersAndMenuNames) {
    const CliResult result = runWithTestPlugins({"--log-level", "4", "algorithms"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // One line per algorithm: the identifier, blanks, the menu name (the host's own algorithms too).
    std::istringstream lines(result.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line.rfind("identifier", 0), 0u) << line;
    const std::size_t menuColumn = line.find("menu name");
    ASSERT_NE(menuColumn, std::string::npos);
    int greetings = 0;
    while (std::getline(lines, line)) {
        ASSERT_GT(line.size(), menuColumn) << line;
        const std::string id = line.substr(0, line.find(' '));
        const std::string menuName = line.substr(menuColumn);
        EXPECT_EQ(line.substr(id.size(), menuColumn - id.size()), std::string(menuColumn - id.size(), ' ')) << line;
        if (id == "Greeting") {
            EXPECT_EQ(menuName, "Test;Greeting");
            ++greetings;
        }
    }
    EXPECT_EQ(greetings, 2); // one per loaded test plug-in
}

TEST(CliBasics, VerboseAlgorithmsShowsParameters) {
    const CliResult result = runWithTestPlugins({"--log-level", "4", "algorithms", "--verbose"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string parameters =
        "  parameter  type    default  label     attributes\n"
        "  greeting   string  hello    Greeting\n"
        "  repeat     int     1        Repeat    min=1 tooltip=\"How many greetings to make.\"\n"
        "  volume     enum    Quiet    Volume    values=\"Quiet,Loud\"\n";
    const std::string both = "Greeting  (Test;Greeting; factory 'Test.Accepted')\n" + parameters + "\n" +
                             "Greeting  (Test;Greeting; factory 'Test.Dependent')\n" + parameters;
    EXPECT_TRUE(contains(result.out, both)) << result.out;
}
