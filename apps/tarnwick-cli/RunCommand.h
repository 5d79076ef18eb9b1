#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace Tarnwick::Cli {

/// `run ID INPUT... [--set name=value]... [-o OUTPUT]...`: runs catalogue algorithm ID on the data in
/// the input files (each loaded by its extension: .tnw, image formats, .graphml, ...) with the given
/// parameters, and saves its results by their extensions: the i-th output path takes the algorithm's
/// i-th output, or, when it produced none (it edited its input), the i-th input; a single ".tnw" path
/// takes all of them. Prints each loaded and saved file, the status and the elapsed time.
///
/// `run WORKSPACE.tws`: runs the pipeline of a workspace file (see Workspace).
///
/// Exit code 0 only when everything succeeded; 1 when loading, the algorithm or saving failed; 2 for
/// a request that cannot be run (unknown algorithm or parameter, invalid value, unfit input).
class RunCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    int runAlgorithm();

    std::string m_target;
    std::vector<std::string> m_inputs;
    std::vector<std::string> m_settings;
    std::vector<std::string> m_outputs;
};

} // namespace Tarnwick::Cli
