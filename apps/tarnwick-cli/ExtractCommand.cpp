#include "ExtractCommand.h"

#include <TarnwickCore/Filesystem.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/String.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/IO/ImageFileIO.h>

#include "CommandContext.h"
#include "ConfiguredAlgorithm.h"
#include "ImageLabels.h"
#include "StageProgress.h"

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <omp.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

namespace Tarnwick::Cli {

namespace {

using Stages = StageProgress::Stages;

/// Most labels `--labels all` runs the job for.
constexpr std::size_t maxLabels = 256;

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

/// Whether `file` can be written: one of `extensions` (any case; empty: an image file) in an existing
/// folder. Logs why not.
bool checkFile(const std::string& file, const std::vector<std::string>& extensions) {
    const std::string extension = Filesystem::Path(file).extension();
    if (extensions.empty() && !ImageFileIO::isSupported(file)) {
        TW_LOG_ERROR("The output '{}' must be an image file ({})", file,
                     fmt::join(ImageFileIO::supportedExtensions(), ", "));
        return false;
    }
    if (!extensions.empty() && std::find(extensions.begin(), extensions.end(), extension) == extensions.end()) {
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

/// `path` with "_label<N>" before its extension ("out.nii.gz" -> "out_label3.nii.gz"); empty stays empty.
std::string withLabel(const std::string& path, long long label) {
    if (path.empty())
        return path;
    const std::filesystem::path file(path);
    std::string name = file.filename().string();
    std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0 && String::toLowerCopy(name.substr(dot)) == ".gz")
        dot = name.rfind('.', dot - 1);
    if (dot == std::string::npos || dot == 0)
        dot = name.size();
    name.insert(dot, fmt::format("_label{}", label));
    return (file.parent_path() / name).string();
}

/// Loads the input: image files with integer masks narrowed to 8 bits, other files through DataFileIO.
/// Null with the reason logged.
std::unique_ptr<SharedImageSet> loadInput(const std::string& path) {
    if (ImageFileIO::isSupported(path)) {
        ImageFileIO::LoadOptions options;
        options.narrowIntegers = true;
        ImageFileIO::LoadResult loaded = ImageFileIO::load(path, options);
        if (!loaded)
            TW_LOG_ERROR("Cannot load '{}': {}", path, loaded.error);
        return std::move(loaded.images);
    }
    std::optional<OwningDataList> loaded = DataFileIO::load(path);
    if (!loaded)
        return nullptr;
    std::unique_ptr<SharedImageSet> image = loaded->extractFirstImage();
    if (!image)
        TW_LOG_ERROR("'{}' holds no image to extract centerlines from", path);
    return image;
}

} // namespace

CLI::App* ExtractCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("extract", "Extract the centerline graph of a vessel mask and measure it");
    command->add_option("image", m_input, "The vessel mask (any image file; non-zero is vessel)")->required();
    command
        ->add_option("-o,--output", m_outputs.graph,
                     "The graph file to write: .graphml, .vtp (VTK XML polylines with per-point radius) or .tnw")
        ->required();
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
    command
        ->add_option("--close-holes", m_closeHoles,
                     "Closing radius in voxels before thinning; 0 disables it (default: the main job's)")
        ->check(CLI::Range(0, 32));
    command->add_option("--threshold", m_threshold, "Voxels above this value are vessel");
    command->add_flag("--invert", m_invert, "Vessel is where the threshold or label rule does not hold");
    CLI::Option* label = command->add_option("--label", m_label, "Only voxels of this value are vessel");
    command
        ->add_option("--labels", m_labels,
                     "'all': one graph per label of a label map; every output gets \"_label<N>\" before its "
                     "extension (OUT.graphml -> OUT_label3.graphml)")
        ->check(CLI::IsMember({"all"}))
        ->excludes(label);
    command
        ->add_option("--working-spacing", m_workingSpacing,
                     "Spacing (mm) thick axes are upsampled to before extraction (default: the finest input spacing)")
        ->check(CLI::PositiveNumber);
    command->add_flag("--raw-junctions", m_rawJunctions,
                      "Keep the skeleton's clusters of junction nodes instead of one node per branch point");
    command->add_flag("--ras", m_ras, "Write GraphML and VTK positions in RAS instead of LPS world coordinates");
    command->add_flag("--stats", m_stats, "Print a summary of the graph and the time of every stage");
    command->add_option("--stats-json", m_outputs.statsJson,
                        "Write the summary and the stage times as JSON to this file");
    CLI::Option* segments =
        command->add_option("--segments", m_outputs.segments,
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
    command->add_option("--nodes", m_outputs.nodes,
                        "Write one CSV row per node: node_id, x, y, z (the graph output's frame: world mm for "
                        ".graphml and .vtp, image mm for .tnw), degree, diameter_mm (mean of the node's edges), "
                        "kind (end, inner, junction or isolated)");
    command->add_option("--skeleton", m_outputs.skeleton,
                        "Write the thinned mask the graph was built from (the working grid, placed in the "
                        "world like the input) to this image file");
    command->add_flag("-q,--quiet", m_quiet, "Show errors only: no progress, no summary");
    command->add_option("--threads", m_threads, "Use at most this many threads (default: every processor)")
        ->check(CLI::Range(1, 1024));
    return command;
}

bool ExtractCommand::writeTable(const char* id, Data& graph, const std::string& path, const std::string& root) {
    std::vector<std::pair<std::string, std::string>> settings{{"location", path}};
    if (!root.empty())
        settings.emplace_back("root", root);
    std::unique_ptr<Algorithm> table = createConfiguredAlgorithm(id, DataList({&graph}), settings);
    if (!table)
        return false;
    table->compute();
    return table->status() == Algorithm::Success;
}

int ExtractCommand::run(CommandContext&) {
    if (!checkFile(m_outputs.graph, {"graphml", "tnw", "vtp"}) ||
        (!m_outputs.segments.empty() && !checkFile(m_outputs.segments, {"csv"})) ||
        (!m_outputs.nodes.empty() && !checkFile(m_outputs.nodes, {"csv"})) ||
        (!m_outputs.statsJson.empty() && !checkFile(m_outputs.statsJson, {"json"})) ||
        (!m_outputs.skeleton.empty() && !checkFile(m_outputs.skeleton, {})))
        return 1;
    if (m_quiet)
        Log::setGlobalLevel(std::max<int>(Log::Error, Log::globalLevel()));
    // The parallel stages are OpenMP loops whose team size is capped by this.
    if (m_threads)
        omp_set_num_threads(*m_threads);

    Timer timer;
    std::unique_ptr<SharedImageSet> image = loadInput(m_input);
    if (!image)
        return 1;
    if (image->size() != 1) {
        TW_LOG_ERROR("'{}' holds no single image to extract centerlines from", m_input);
        return 1;
    }
    const double loadSeconds = timer.elapsedSeconds();
    if (m_labels.empty())
        return extractOne(*image, m_label, m_outputs, loadSeconds);

    std::string error;
    const std::optional<std::vector<long long>> labels = labelValues(*image->get(0), maxLabels, error);
    if (!labels || labels->empty()) {
        TW_LOG_ERROR("Cannot extract one graph per label of '{}': {}", m_input,
                     labels ? "it holds no label other than 0" : error);
        return 1;
    }
    int failed = 0;
    for (const long long value : *labels) {
        if (value < INT_MIN || value > INT_MAX) {
            TW_LOG_ERROR("Label {} of '{}' is out of range", value, m_input);
            return 1;
        }
        const Outputs outputs{withLabel(m_outputs.graph, value), withLabel(m_outputs.segments, value),
                              withLabel(m_outputs.nodes, value), withLabel(m_outputs.statsJson, value),
                              withLabel(m_outputs.skeleton, value)};
        if (!m_quiet)
            fmt::print("Label {}:\n", value);
        failed += extractOne(*image, static_cast<int>(value), outputs, value == labels->front() ? loadSeconds : 0.0);
    }
    if (!m_quiet)
        fmt::print("Extracted {} of {} labels\n", labels->size() - std::size_t(failed), labels->size());
    return failed == 0 ? 0 : 1;
}

int ExtractCommand::extractOne(SharedImageSet& image, std::optional<int> label, const Outputs& outputs,
                               double loadSeconds) {
    const bool worldFrame = Filesystem::Path(outputs.graph).extension() != "tnw";
    StageProgress progress(m_quiet);
    progress.stages.emplace_back("load", loadSeconds);
    const auto text = [](auto value) { return fmt::format("{}", value); };
    std::vector<std::pair<std::string, std::string>> settings{
        {"minVesselDiameter", text(m_minVesselDiameter)},
        {"graphSmoothing", text(m_graphSmoothing)},
        {"pruneSensitivity", text(m_pruneSensitivity)},
        {"removeCycles", m_removeCycles ? "true" : "false"},
        {"threshold", m_threshold ? text(*m_threshold) : ""},
        {"invert", m_invert ? "true" : "false"},
        {"label", label ? text(*label) : ""},
        {"mergeJunctions", m_rawJunctions ? "false" : "true"},
        {"workingSpacing", m_workingSpacing ? text(*m_workingSpacing) : ""},
        {"keepSkeleton", outputs.skeleton.empty() ? "false" : "true"},
        {"coordinates", !worldFrame ? "Image"
                        : m_ras     ? "RAS"
                                    : "LPS"}};
    if (m_closeHoles)
        settings.emplace_back("closeHoles", text(*m_closeHoles));
    std::unique_ptr<Algorithm> job = createConfiguredAlgorithm("VesselGraphExtraction", DataList({&image}), settings);
    if (!job)
        return 1;
    job->setProgress(&progress);
    job->compute();
    job->setProgress(nullptr);
    std::vector<std::unique_ptr<Data>> output = job->takeOutput().release();
    if (job->status() != Algorithm::Success || output.empty() || !output.front()) {
        progress.finish();
        TW_LOG_ERROR("Extracting the centerlines of '{}' failed", m_input);
        return 1;
    }
    Data& graph = *output.front();

    // Each step runs as a stage of its own; the first failure ends the run.
    const auto stage = [&](const char* name, const std::function<bool()>& write) {
        progress.start(name);
        const bool written = write();
        progress.end();
        return written;
    };
    const bool written =
        stage("export", [&] { return DataFileIO::save(outputs.graph, DataList({&graph})); }) &&
        (outputs.segments.empty() || stage("segments",
                                           [&] {
                                               return writeTable("GraphSegmentTable", graph, outputs.segments,
                                                                 m_root ? text(*m_root) : "");
                                           })) &&
        (outputs.nodes.empty() ||
         stage("nodes", [&] { return writeTable("GraphNodeTable", graph, outputs.nodes, ""); })) &&
        (outputs.skeleton.empty() || stage("skeleton", [&] {
             if (output.size() < 2 || !output[1]) {
                 TW_LOG_ERROR("The main job handed out no skeleton to write to '{}'", outputs.skeleton);
                 return false;
             }
             return DataFileIO::save(outputs.skeleton, DataList({output[1].get()}));
         }));
    progress.finish();
    if (!written)
        return 1;
    if (m_stats && !m_quiet)
        printStats(*job, progress.stages);
    if (!outputs.statsJson.empty() && !writeStatsJson(*job, progress.stages, outputs.statsJson))
        return 1;
    if (!m_quiet)
        fmt::print("Wrote {} nodes and {} edges ({} branch points, {:.1f} mm of vessel) to {}\n",
                   result(*job, "summaryNodes"), result(*job, "summaryEdges"), result(*job, "summaryBranchPoints"),
                   std::stod(result(*job, "summaryTotalLength")), outputs.graph);
    return 0;
}

} // namespace Tarnwick::Cli
