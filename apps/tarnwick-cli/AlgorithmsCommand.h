#pragma once

#include "Command.h"

namespace Tarnwick::Cli {

/// `algorithms [--verbose]`: the algorithm catalogue of the loaded plug-ins, one identifier and
/// menu name per line; with --verbose also each algorithm's parameters with their types, defaults,
/// labels and attributes.
class AlgorithmsCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    bool m_verbose = false;
};

} // namespace Tarnwick::Cli
