#pragma once

#include "Command.h"

#include <string>

namespace Tarnwick::Cli {

/// `info FILE`: what a data file holds (loaded by its extension). For every data set its name and
/// one-line description, the details its plug-in gives (for graphs: type, dimension, node and edge
/// counts, features with their value ranges), for images the dimensions, pixel type, spacing,
/// origin, direction and value range of each image, and the world bounding box.
class InfoCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    std::string m_path;
};

} // namespace Tarnwick::Cli
