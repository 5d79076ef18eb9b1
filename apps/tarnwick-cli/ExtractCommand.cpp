#include "ExtractCommand.h"

#include <TarnwickCore/ConsoleProgress.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/String.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickGraph/Plugin/GraphCommandLineEntry.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include "CommandContext.h"
#include "ExtractionPipeline.h"

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace Tarnwick::Cli {

namespace {

using Stages = std::vector<std::pair<std::string, double>>;

/// The console progress display that also records how long each top-level task took.
class StageProgress : public ConsoleProgress {
public:
    Stages stages;

protected:
    void taskEnded(const Task& task, int depth) override {
        if (depth == 0)
            stages.emplace_back(task.description, task.timer.elapsedSeconds());
        ConsoleProgress::taskEnded(task, depth);
    }
};

void printStats(const TarnwickGraphSummary& summary, const Stages& stages) {
    // The extraction's own cycle check warns about the small voxel triangles at junctions; the summary
    // merges each junction's cluster first, and says so.
    fmt::print("Nodes: {}\nEdges: {}\nBranch points: {}\nEndpoints: {}\nComponents: {}\n"
               "Cycles: {} (each junction's cluster of voxels counted as one branch point)\n",
               summary.nodes, summary.edges, summary.branchPoints, summary.endpoints, summary.components,
               summary.cycles);
    fmt::print("Total length: {:.2f} mm\n", summary.totalLength);
    if (summary.maxDiameter > 0.0)
        fmt::print("Diameter range: {:.3f} to {:.3f} mm\n", summary.minDiameter, summary.maxDiameter);
    double total = 0.0;
    fmt::print("Stage times:\n");
    for (const auto& [stage, seconds] : stages) {
        fmt::print("  {:<18} {:8.3f} s\n", stage, seconds);
        total += seconds;
    }
    fmt::print("  {:<18} {:8.3f} s\n", "total", total);
}

} // namespace

CLI::App* ExtractCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("extract", "Extract the centerline graph of a vessel mask and measure it");
    command->add_option("image", m_input, "The vessel mask (any image file; non-zero or > 0.5 is vessel)")->required();
    command->add_option("-o,--output", m_output, "The graph file to write (.graphml or .tnw)")->required();
    command
        ->add_option("--min-vessel-diameter", m_settings.minVesselDiameter,
                     "Smallest vessel diameter (mm) resolved; coarsens the working grid")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command
        ->add_option("--graph-smoothing", m_settings.graphSmoothing,
                     "Smoothing strength of the positions; 0 disables it")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command
        ->add_option("--prune-sensitivity", m_settings.pruneSensitivity,
                     "Side branches shorter than this times the local radius are removed")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_flag("--remove-cycles", m_settings.removeCycles, "Break every cycle (the result is a forest)");
    command
        ->add_option("--close-holes", m_settings.closeHoles, "Closing radius in voxels before thinning; 0 disables it")
        ->check(CLI::Range(0, 32))
        ->capture_default_str();
    command->add_flag("--ras", m_ras, "Write GraphML positions in RAS instead of LPS world coordinates");
    command->add_flag("--stats", m_stats, "Print a summary of the graph and the time of every stage");
    return command;
}

int ExtractCommand::run(CommandContext& context) {
    const bool graphml = String::endsWith(m_output, ".graphml");
    if (!graphml && !String::endsWith(m_output, ".tnw")) {
        TW_LOG_ERROR("The output '{}' must end in .graphml or .tnw", m_output);
        return 1;
    }
    // The graph plug-in's entry points for summaries and world coordinates.
    const PluginManager& plugins = context.plugins();
    const auto summarize =
        reinterpret_cast<TarnwickGraphSummarizeFunction>(plugins.symbol("Tarnwick.Graph", "tarnwickGraphSummarize"));
    const auto moveToWorld = reinterpret_cast<TarnwickGraphMoveToWorldFunction>(
        plugins.symbol("Tarnwick.Graph", "tarnwickGraphMoveToWorld"));
    if (!summarize || !moveToWorld) {
        TW_LOG_ERROR("extract needs the graph plug-in (Tarnwick.Graph), which is not loaded");
        return 1;
    }

    StageProgress progress;
    Timer timer;
    std::optional<OwningDataList> loaded = DataFileIO::load(m_input);
    if (!loaded)
        return 1;
    std::unique_ptr<SharedImageSet> image = loaded->extractFirstImage();
    if (!image || image->size() != 1) {
        TW_LOG_ERROR("'{}' holds no single image to extract centerlines from", m_input);
        return 1;
    }
    progress.stages.emplace_back("load", timer.elapsedSeconds());

    std::unique_ptr<Data> graph = extractCenterlines(*image, m_settings, progress);
    if (!graph) {
        TW_LOG_ERROR("Extracting the centerlines of '{}' failed", m_input);
        return 1;
    }

    progress.start("export");
    if (graphml)
        moveToWorld(graph.get(), m_ras ? 1 : 0);
    const bool saved = DataFileIO::save(m_output, DataList({graph.get()}));
    progress.end();
    if (!saved)
        return 1;

    TarnwickGraphSummary summary{};
    summarize(graph.get(), &summary);
    if (m_stats)
        printStats(summary, progress.stages);
    fmt::print("Wrote {} nodes and {} edges to {}\n", summary.nodes, summary.edges, m_output);
    return 0;
}

} // namespace Tarnwick::Cli
