#pragma once

#include "Command.h"

#include <TarnwickLib/Data/Data.h>

#include <optional>
#include <string>

namespace Tarnwick::Cli {

/// `extract IMAGE -o GRAPH`: the main job. Runs the graph plug-in's "VesselGraphExtraction" algorithm
/// (input checks, centerline extraction, junction clean-up, edge features "length" and "diameter")
/// through the catalogue and presents it: the output is checked before any work, written by its
/// extension (.graphml with world coordinates, LPS or with --ras RAS and a frame marker; .tnw with the
/// graph's own placement), and --stats prints the summary and the time of every stage (--stats-json
/// writes them as JSON). --segments writes the segment table through the plug-in's "GraphSegmentTable".
class ExtractCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    /// Writes the segment table of the extracted graph; false with the reason logged.
    bool writeSegments(Data& graph);

    std::string m_input;
    std::string m_output;
    double m_minVesselDiameter = 1.0;
    double m_graphSmoothing = 0.5;
    double m_pruneSensitivity = 1.0;
    bool m_removeCycles = false;
    int m_closeHoles = 2;
    std::optional<double> m_threshold;
    bool m_invert = false;
    std::optional<int> m_label;
    std::optional<double> m_workingSpacing;
    bool m_rawJunctions = false;
    bool m_ras = false;
    bool m_stats = false;
    std::string m_statsJson;
    std::string m_segments;
    std::optional<int> m_root;
};

} // namespace Tarnwick::Cli
