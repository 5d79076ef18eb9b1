#pragma once

#include "Command.h"

namespace Tarnwick::Cli {

/// `plugins`: which plug-in folders were searched, which plug-ins loaded and which libraries were
/// refused, with the reason.
class PluginsCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;
};

} // namespace Tarnwick::Cli
