#pragma once

namespace CLI {
class App;
}

namespace Tarnwick::Cli {

class CommandContext;

/// One subcommand of tarnwick-cli: declares itself and its options on the command line, and runs
/// when the user chose it.
class Command {
public:
    virtual ~Command() = default;
    /// Adds the subcommand with its options to `app` and returns it.
    virtual CLI::App* declare(CLI::App& app) = 0;
    /// Runs after the command line was parsed and the plug-ins were loaded; returns the exit code
    /// (0 on success, non-zero with the reason logged on failure).
    virtual int run(CommandContext& context) = 0;
};

} // namespace Tarnwick::Cli
