#include "ExtractCommand.h"

#include <TarnwickCore/ConsoleProgress.h>
#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include "CommandContext.h"
#include "ConfiguredAlgorithm.h"

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <utility>
#include <vector>

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

/// The text of a result parameter of the main job ("0" when it is missing).
std::string result(const Algorithm& job, const std::string& name) {
    const ParameterBase* parameter = job.parameter(name);
    return parameter ? parameter->toString() : "0";
}

void printStats(const Algorithm& job, const Stages& stages) {
    fmt::print("Nodes: {}\nEdges: {}\nBranch points: {}\nEndpoints: {}\nComponents: {}\nCycles: {}\n",
               result(job, "summaryNodes"), result(job, "summaryEdges"), result(job, "summaryBranchPoints"),
               result(job, "summaryEndpoints"), result(job, "summaryComponents"), result(job, "summaryCycles"));
    fmt::print("Total length: {:.2f} mm\n", std::stod(result(job, "summaryTotalLength")));
    const double largest = std::stod(result(job, "summaryMaxDiameter"));
    if (largest > 0.0)
        fmt::print("Diameter range: {:.3f} to {:.3f} mm\n", std::stod(result(job, "summaryMinDiameter")), largest);
    double total = 0.0;
    fmt::print("Stage times:\n");
    for (const auto& [stage, seconds] : stages) {
        fmt::print("  {:<18} {:8.3f} s\n", stage, seconds);
        total += seconds;
    }
    fmt::print("  {:<18} {:8.3f} s\n", "total", total);
}

/// Whether the output can be written: a known extension (any case) in an existing folder. Logs why not.
bool checkOutput(const std::string& output) {
    const std::string extension = Filesystem::Path(output).extension();
    if (extension != "graphml" && extension != "tnw") {
        TW_LOG_ERROR("The output '{}' must end in .graphml or .tnw", output);
        return false;
    }
    const std::filesystem::path folder = std::filesystem::path(output).parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder)) {
        TW_LOG_ERROR("The output folder '{}' does not exist", folder.string());
        return false;
    }
    return true;
}

} // namespace

CLI::App* ExtractCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("extract", "Extract the centerline graph of a vessel mask and measure it");
    command->add_option("image", m_input, "The vessel mask (any image file; non-zero is vessel)")->required();
    command->add_option("-o,--output", m_output, "The graph file to write (.graphml or .tnw)")->required();
    command
        ->add_option("--min-vessel-diameter", m_minVesselDiameter,
                     "Smallest vessel diameter (mm) resolved; coarsens the working grid")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_option("--graph-smoothing", m_graphSmoothing, "Smoothing strength of the positions; 0 disables it")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command
        ->add_option("--prune-sensitivity", m_pruneSensitivity,
                     "Side branches shorter than this times the local radius are removed")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_flag("--remove-cycles", m_removeCycles, "Break every cycle (the result is a forest)");
    command->add_option("--close-holes", m_closeHoles, "Closing radius in voxels before thinning; 0 disables it")
        ->check(CLI::Range(0, 32))
        ->capture_default_str();
    command->add_option("--threshold", m_threshold, "Voxels above this value are vessel");
    command->add_flag("--invert", m_invert, "Vessel is where the threshold or label rule does not hold");
    command->add_option("--label", m_label, "Only voxels of this value are vessel");
    command
        ->add_option("--working-spacing", m_workingSpacing,
                     "Spacing (mm) thick axes are upsampled to before extraction (default: the finest input spacing)")
        ->check(CLI::PositiveNumber);
    command->add_flag("--raw-junctions", m_rawJunctions,
                      "Keep the skeleton's clusters of junction nodes instead of one node per branch point");
    command->add_flag("--ras", m_ras, "Write GraphML positions in RAS instead of LPS world coordinates");
    command->add_flag("--stats", m_stats, "Print a summary of the graph and the time of every stage");
    return command;
}

int ExtractCommand::run(CommandContext&) {
    if (!checkOutput(m_output))
        return 1;
    const bool graphml = Filesystem::Path(m_output).extension() == "graphml";
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

    const auto text = [](auto value) { return fmt::format("{}", value); };
    std::unique_ptr<Algorithm> job =
        createConfiguredAlgorithm("VesselGraphExtraction", DataList({image.get()}),
                                  {{"minVesselDiameter", text(m_minVesselDiameter)},
                                   {"graphSmoothing", text(m_graphSmoothing)},
                                   {"pruneSensitivity", text(m_pruneSensitivity)},
                                   {"removeCycles", m_removeCycles ? "true" : "false"},
                                   {"closeHoles", text(m_closeHoles)},
                                   {"threshold", m_threshold ? text(*m_threshold) : ""},
                                   {"invert", m_invert ? "true" : "false"},
                                   {"label", m_label ? text(*m_label) : ""},
                                   {"mergeJunctions", m_rawJunctions ? "false" : "true"},
                                   {"workingSpacing", m_workingSpacing ? text(*m_workingSpacing) : ""},
                                   {"coordinates", !graphml ? "Image"
                                                   : m_ras  ? "RAS"
                                                            : "LPS"}});
    if (!job)
        return 1;
    job->setProgress(&progress);
    job->compute();
    job->setProgress(nullptr);
    std::vector<std::unique_ptr<Data>> output = job->takeOutput().release();
    if (job->status() != Algorithm::Success || output.empty() || !output.front()) {
        TW_LOG_ERROR("Extracting the centerlines of '{}' failed", m_input);
        return 1;
    }

    progress.start("export");
    const bool saved = DataFileIO::save(m_output, DataList({output.front().get()}));
    progress.end();
    if (!saved)
        return 1;
    if (m_stats)
        printStats(*job, progress.stages);
    fmt::print("Wrote {} nodes and {} edges to {}\n", result(*job, "summaryNodes"), result(*job, "summaryEdges"),
               m_output);
    return 0;
}

} // namespace Tarnwick::Cli
