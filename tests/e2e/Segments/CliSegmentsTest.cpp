// extract --segments on sample phantoms, compared with a table recomputed from the written GraphML by
// NetworkX (segment_table_reference.py, skipped when NetworkX is missing), and --stats-json.
#include "../../support/Subprocess.h"
#include "../../support/TempDir.h"
#include "../CliRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <regex>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::readFile;

CliResult cli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
    return Tarnwick::Test::runCli(arguments);
}

/// Runs the NetworkX reference on a graph and its table; exit status and output.
std::pair<int, std::string> compareWithNetworkX(const std::string& graph, const std::string& table) {
    return Tarnwick::Test::runShell("/usr/bin/python3 '" TARNWICK_SOURCE_DIR
                                    "/tests/e2e/Segments/segment_table_reference.py' '" +
                                    graph + "' '" + table + "'");
}

TEST(CliSegments, TableMatchesNetworkXOnTreeAndLoopPhantoms) {
    Tarnwick::Test::TempDir dir;
    struct Phantom {
        std::vector<std::string> options;
        bool forest; ///< whether the segment graph has no cycle
    };
    for (const Phantom& phantom : {Phantom{{"--size", "80", "--seed", "2"}, true},
                                   Phantom{{"--size", "96", "--loops", "--oblique", "--seed", "3"}, false}}) {
        const std::string folder = dir.file(phantom.forest ? "tree" : "loops");
        std::vector<std::string> sample{"sample", "-o", folder};
        sample.insert(sample.end(), phantom.options.begin(), phantom.options.end());
        ASSERT_EQ(cli(sample).exitCode, 0);
        const std::string graph = folder + "/g.graphml", table = folder + "/segments.csv";
        const CliResult extract = cli({"extract", folder + "/vessels.nii.gz", "-o", graph, "--segments", table});
        ASSERT_EQ(extract.exitCode, 0) << extract.err;
        const auto [status, output] = compareWithNetworkX(graph, table);
        if (status == 2)
            GTEST_SKIP() << "NetworkX not available to /usr/bin/python3: " << output;
        EXPECT_EQ(status, 0) << output;
        EXPECT_NE(output.find(phantom.forest ? "forest: True" : "forest: False"), std::string::npos) << output;
    }
}

TEST(CliSegments, StatsJsonHoldsTheSummaryAndStageTimes) {
    Tarnwick::Test::TempDir dir;
    ASSERT_EQ(cli({"sample", "-o", dir.file("s"), "--size", "64"}).exitCode, 0);
    const CliResult extract =
        cli({"extract", dir.file("s/vessels.nii.gz"), "-o", dir.file("g.tnw"), "--stats-json", dir.file("stats.json")});
    ASSERT_EQ(extract.exitCode, 0) << extract.err;
    std::smatch wrote;
    ASSERT_TRUE(std::regex_search(extract.out, wrote, std::regex(R"(Wrote (\d+) nodes and (\d+) edges)")));
    const nlohmann::json stats = nlohmann::json::parse(readFile(dir.file("stats.json")));
    EXPECT_EQ(stats.at("nodes").get<long long>(), std::stoll(wrote[1]));
    EXPECT_EQ(stats.at("edges").get<long long>(), std::stoll(wrote[2]));
    EXPECT_GT(stats.at("totalLengthMm").get<double>(), 0.0);
    double total = 0.0;
    for (const auto& stage : stats.at("stageSeconds"))
        total += stage.at("seconds").get<double>();
    EXPECT_EQ(stats.at("stageSeconds").front().at("stage"), "load");
    EXPECT_NEAR(stats.at("totalSeconds").get<double>(), total, 1e-9);
}

TEST(CliSegments, BadTablePathsFailBeforeTheRun) {
    Tarnwick::Test::TempDir dir;
    ASSERT_EQ(cli({"sample", "-o", dir.file("s"), "--size", "32"}).exitCode, 0);
    for (const auto& [option, path] : {std::pair<std::string, std::string>{"--segments", dir.file("no/t.csv")},
                                       {"--segments", dir.file("t.txt")},
                                       {"--stats-json", dir.file("no/s.json")}}) {
        const CliResult extract =
            cli({"extract", dir.file("s/vessels.nii.gz"), "-o", dir.file("g.graphml"), option, path});
        EXPECT_EQ(extract.exitCode, 1) << option << " " << path;
        EXPECT_FALSE(std::filesystem::exists(dir.file("g.graphml"))) << option << " " << path;
    }
}

} // namespace
