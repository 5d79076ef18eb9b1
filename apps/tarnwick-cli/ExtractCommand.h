#pragma once

#include "Command.h"

#include <TarnwickLib/Data/Data.h>

#include <optional>
#include <string>

namespace Tarnwick {
class SharedImageSet;
}

namespace Tarnwick::Cli {

class StageProgress;

/// `extract IMAGE -o GRAPH`: the main job. Runs the graph plug-in's "VesselGraphExtraction" algorithm
/// (input checks, centerline extraction, junction clean-up, edge features "length" and "diameter")
/// through the catalogue and presents it: every output is checked before any work, the graph is written
/// by its extension (.graphml and .vtp with world coordinates, LPS or with --ras RAS, GraphML with a
/// frame marker; .tnw with the graph's own placement), and --stats prints the summary and the time of
/// every stage (--stats-json writes them as JSON). --segments and --nodes write the segment and node
/// tables through the plug-in's "GraphSegmentTable" and "GraphNodeTable", --skeleton the thinned working
/// mask. --labels all runs the job once per label of a label map, each output named with "_label<N>"
/// before its extension. Image files are loaded with integer masks narrowed to 8 bits (the job only
/// needs a mask). --quiet shows errors only, --threads caps the threads of the parallel stages.
class ExtractCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    /// The files one run writes (empty: not wanted).
    struct Outputs {
        std::string graph, segments, nodes, statsJson, skeleton;
    };

    /// Runs the main job on `image` with `label` (unset: the rule of the options) and writes `outputs`;
    /// the exit code.
    int extractOne(SharedImageSet& image, std::optional<int> label, const Outputs& outputs, double loadSeconds);
    /// Runs the plug-in's table algorithm `id` on `graph`, writing `path`; false with the reason logged.
    bool writeTable(const char* id, Data& graph, const std::string& path, const std::string& root);

    std::string m_input;
    Outputs m_outputs;
    double m_minVesselDiameter = 1.0;
    double m_graphSmoothing = 0.5;
    double m_pruneSensitivity = 1.0;
    bool m_removeCycles = false;
    std::optional<int> m_closeHoles;
    std::optional<double> m_threshold;
    bool m_invert = false;
    std::optional<int> m_label;
    std::string m_labels;
    std::optional<double> m_workingSpacing;
    bool m_rawJunctions = false;
    bool m_ras = false;
    bool m_stats = false;
    bool m_quiet = false;
    std::optional<int> m_threads;
    std::optional<int> m_root;
};

} // namespace Tarnwick::Cli
