#include "SampleCommand.h"

#include "VesselPhantom.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Algorithm/ParameterText.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>

namespace Tarnwick::Cli {

namespace {

/// "sx,sy,sz" (or one number for all axes) as a spacing; empty when it is neither.
std::optional<Eigen::Vector3d> parseSpacing(const std::string& text) {
    double all = 0.0;
    if (!ParameterText::parse(text, all))
        return Eigen::Vector3d::Constant(all);
    Eigen::Vector3d spacing;
    if (!ParameterText::parse(text, spacing))
        return spacing;
    return std::nullopt;
}

} // namespace

CLI::App* SampleCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("sample", "Write a synthetic vessel tree and its true centerlines");
    command->add_option("-o,--output", m_folder, "Folder to write vessels.nii.gz and vessels-truth.graphml into")
        ->required();
    command->add_option("--size", m_size, "Voxels along each axis")->check(CLI::Range(16, 2048));
    command->add_option("--spacing", m_spacing, "Voxel spacing in mm: sx,sy,sz or one value");
    command->add_option("--max-radius", m_maxRadius, "Radius of the root vessel in voxels")
        ->check(CLI::Range(1.5, 64.0));
    command->add_option("--min-radius", m_minRadius, "Radius of the thinnest vessel in voxels")
        ->check(CLI::Range(0.3, 64.0));
    command->add_flag("--oblique", m_oblique, "Rotate the image axes and move the origin");
    command->add_flag("--loops", m_loops, "Join leaf vessels so that the tree has cycles");
    command->add_option("--noise", m_noise, "Surface noise as a fraction of the radius")->check(CLI::Range(0.0, 0.5));
    command->add_flag("--holes", m_holes, "Punch single-voxel holes into thick vessels");
    command->add_option("--bumps", m_bumps, "Ball-shaped bumps on vessel surfaces")->check(CLI::Range(0, 1000));
    command->add_option("--seed", m_seed, "Random seed");
    command->add_flag("--2d", m_twoD, "A single slice instead of a volume");
    return command;
}

int SampleCommand::run(CommandContext&) {
    const std::optional<Eigen::Vector3d> spacing = parseSpacing(m_spacing);
    if (!spacing) {
        TW_LOG_ERROR("The spacing '{}' is not three comma-separated numbers", m_spacing);
        return 1;
    }
    VesselPhantom::Options options;
    options.size = m_size;
    options.spacing = *spacing;
    options.maxRadiusVoxels = m_maxRadius;
    options.minRadiusVoxels = m_minRadius;
    options.oblique = m_oblique;
    options.loops = m_loops;
    options.noise = m_noise;
    options.holes = m_holes;
    options.bumps = m_bumps;
    options.seed = m_seed;
    options.twoD = m_twoD;
    std::unique_ptr<VesselPhantom> phantom;
    try {
        phantom = std::make_unique<VesselPhantom>(options);
    } catch (const std::invalid_argument& error) {
        TW_LOG_ERROR("{}", error.what());
        return 1;
    }

    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (error) {
        TW_LOG_ERROR("Cannot create the folder '{}': {}", m_folder, error.message());
        return 1;
    }
    const std::string imagePath = (std::filesystem::path(m_folder) / "vessels.nii.gz").string();
    const std::string truthPath = (std::filesystem::path(m_folder) / "vessels-truth.graphml").string();
    SharedImageSet image(phantom->mask(), "vessels");
    if (!DataFileIO::save(imagePath, DataList({&image})) || !phantom->writeTruthGraphML(truthPath))
        return 1;
    fmt::print("Wrote {} ({} x {} x {} voxels, {} vessel segments, {} loops) and its true centerlines {}\n", imagePath,
               m_size, m_size, m_twoD ? 1 : m_size, phantom->segments().size(), phantom->loopCount(), truthPath);
    return 0;
}

} // namespace Tarnwick::Cli
