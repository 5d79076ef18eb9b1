#include "SampleCommand.h"

#include "VesselPhantom.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace Tarnwick::Cli {

namespace {

/// "sx,sy,sz" (or one number for all axes) as a spacing; empty when it is not three positive numbers.
std::optional<Eigen::Vector3d> parseSpacing(const std::string& text) {
    std::vector<double> values;
    std::stringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) {
        try {
            std::size_t used = 0;
            values.push_back(std::stod(item, &used));
            if (used != item.size())
                return std::nullopt;
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }
    if (values.size() == 1)
        values.assign(3, values.front());
    if (values.size() != 3)
        return std::nullopt;
    return Eigen::Vector3d(values[0], values[1], values[2]);
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
    command->add_flag("--oblique", m_oblique, "Rotate the image axes and move the origin");
    command->add_flag("--loops", m_loops, "Join leaf vessels so that the tree has cycles");
    command->add_option("--noise", m_noise, "Surface noise as a fraction of the radius")->check(CLI::Range(0.0, 0.5));
    command->add_flag("--holes", m_holes, "Punch single-voxel holes into thick vessels");
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
    options.oblique = m_oblique;
    options.loops = m_loops;
    options.noise = m_noise;
    options.holes = m_holes;
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
