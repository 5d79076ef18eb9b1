#pragma once

#include "Command.h"

#include <cstdint>
#include <string>

namespace Tarnwick::Cli {

/// `sample -o DIR`: writes a synthetic vessel tree (VesselPhantom) as "vessels.nii.gz" and its
/// ground-truth centerlines as "vessels-truth.graphml" (world coordinates, edge feature "diameter").
class SampleCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    std::string m_folder;
    int m_size = 128;
    std::string m_spacing = "1,1,1";
    double m_maxRadius = 6.0;
    double m_minRadius = 1.5;
    bool m_oblique = false;
    bool m_loops = false;
    double m_noise = 0.0;
    bool m_holes = false;
    int m_bumps = 0;
    std::uint32_t m_seed = 1;
    bool m_twoD = false;
};

} // namespace Tarnwick::Cli
