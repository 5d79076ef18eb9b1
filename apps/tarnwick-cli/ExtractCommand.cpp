#include "ExtractCommand.h"

#include <TarnwickCore/ConsoleProgress.h>
#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include "CommandContext.h"
#include "ConfiguredAlgorithm.h"

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
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

/// The summary and the stage times as JSON, written atomically. Logs why it failed.
bool writeStatsJson(const Algorithm& job, const Stages& stages, const std::string& path) {
    nlohmann::json json;
    for (const auto& [key, name] : {std::pair{"nodes", "summaryNodes"},
                                    {"edges", "summaryEdges"},
                                    {"branchPoints", "summaryBranchPoints"},
                                    {"endpoints", "summaryEndpoints"},
                                    {"components", "summaryComponents"},
                                    {"cycles", "summaryCycles"}})
        json[key] = std::stoll(result(job, name));
    json["totalLengthMm"] = std::stod(result(job, "summaryTotalLength"));
    json["minDiameterMm"] = std::stod(result(job, "summaryMinDiameter"));
    json["maxDiameterMm"] = std::stod(result(job, "summaryMaxDiameter"));
    double total = 0.0;
    nlohmann::json times = nlohmann::json::array();
    for (const auto& [stage, seconds] : stages) {
        times.push_back({{"stage", stage}, {"seconds", seconds}});
        total += seconds;
    }
    json["stageSeconds"] = times;
    json["totalSeconds"] = total;
    AtomicFileWriter writer(path);
    std::string error;
    if (writer.open(error)) {
        writer.stream() << json.dump(2) << "\n";
        if (writer.commit(error))
            return true;
    }
    TW_LOG_ERROR("Writing the statistics '{}' failed: {}", path, error);
    return false;
}

/// Whether `file` can be written: one of `extensions` (any case) in an existing folder. Logs why not.
bool checkFile(const std::string& file, const std::vector<std::string>& extensions) {
    const std::string extension = Filesystem::Path(file).extension();
    if (std::find(extensions.begin(), extensions.end(), extension) == extensions.end()) {
        TW_LOG_ERROR("The output '{}' must end in .{}", file, fmt::join(extensions, " or ."));
        return false;
    }
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
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
    command->add_option("--stats-json", m_statsJson, "Write the summary and the stage times as JSON to this file");
    CLI::Option* segments =
        command->add_option("--segments", m_segments,
                            "Write one CSV row per segment between junctions or ends: length, chord, tortuosity, "
                            "diameters, volume, generation from the root and Strahler order (on a graph with "
                            "cycles, on the breadth-first spanning tree from the root; segments closing a cycle "
                            "get none)");
    command
        ->add_option("--root", m_root,
                     "Root node of the segment generations (default: the free end of the thickest end "
                     "segment of each component)")
        ->check(CLI::NonNegativeNumber)
        ->needs(segments);
    return command;
}

bool ExtractCommand::writeSegments(Data& graph) {
    std::unique_ptr<Algorithm> table =
        createConfiguredAlgorithm("GraphSegmentTable", DataList({&graph}),
                                  {{"location", m_segments}, {"root", m_root ? std::to_string(*m_root) : ""}});
    if (!table)
        return false;
    table->compute();
    return table->status() == Algorithm::Success;
}

int ExtractCommand::run(CommandContext&) {
    if (!checkFile(m_output, {"graphml", "tnw"}) || (!m_segments.empty() && !checkFile(m_segments, {"csv"})) ||
        (!m_statsJson.empty() && !checkFile(m_statsJson, {"json"})))
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
    if (!m_segments.empty()) {
        progress.start("segments");
        const bool written = writeSegments(*output.front());
        progress.end();
        if (!written)
            return 1;
    }
    if (m_stats)
        printStats(*job, progress.stages);
    if (!m_statsJson.empty() && !writeStatsJson(*job, progress.stages, m_statsJson))
        return 1;
    fmt::print("Wrote {} nodes and {} edges to {}\n", result(*job, "summaryNodes"), result(*job, "summaryEdges"),
               m_output);
    return 0;
}

} // namespace Tarnwick::Cli
