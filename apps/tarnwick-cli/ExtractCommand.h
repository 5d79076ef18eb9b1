#pragma once

#include "Command.h"
#include "ExtractionPipeline.h"

#include <optional>
#include <string>

namespace Tarnwick::Cli {

/// `extract IMAGE -o GRAPH`: the main job. Centerline extraction of a vessel mask, then the edge features
/// "length" and "diameter" (measured against the input mask), then export by the output's extension
/// (.graphml with world coordinates, LPS or with --ras RAS; .tnw with the graph's own placement).
/// --stats prints counts, length, diameter range and the time of every stage.
class ExtractCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    std::string m_input;
    std::string m_output;
    ExtractionSettings m_settings;
    bool m_ras = false;
    bool m_stats = false;
};

} // namespace Tarnwick::Cli
