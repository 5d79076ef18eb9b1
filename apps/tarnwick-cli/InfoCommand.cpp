#include "InfoCommand.h"

#include <TarnwickLib/Algorithm/DataAnnotationFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

namespace Tarnwick::Cli {

namespace {

std::string vectorText(const Eigen::Vector3d& v) {
    // Adding zero turns -0 into 0, which reads better.
    return fmt::format("{:.6g}, {:.6g}, {:.6g}", v.x() + 0.0, v.y() + 0.0, v.z() + 0.0);
}

/// The details the first annotation factory that knows `data` lists, without the name and the
/// description, which are printed anyway.
void printAnnotationAttributes(const Data& data) {
    for (const DataAnnotationFactory* factory : FactoryRegistry::get().annotationFactories()) {
        if (factory->dataDescription(data).empty())
            continue;
        for (const auto& [name, value] : factory->dataAttributes(data))
            if (name != "Name" && name != "Description")
                fmt::print("    {}: {}\n", name, value);
        return;
    }
}

void printImages(const SharedImageSet& images) {
    for (int i = 0; i < images.size(); ++i) {
        const SharedImage& image = *images.get(i);
        const ImageDescriptor& descriptor = image.descriptor();
        const Eigen::Matrix4d pixelToWorld = image.pixelToWorldMatrix();
        const Eigen::Matrix3d direction = image.matrixToWorld().topLeftCorner<3, 3>();
        const auto [minimum, maximum] = image.mem()->minMax();
        fmt::print("    Image {}: {} x {} x {}, {} channel{}, {}\n", i + 1, descriptor.dimensions.x(),
                   descriptor.dimensions.y(), descriptor.dimensions.z(), descriptor.channels,
                   descriptor.channels == 1 ? "" : "s", pixelTypeName(descriptor.pixelType));
        fmt::print("      Spacing (mm): {}\n", vectorText(descriptor.spacing));
        fmt::print("      Origin (mm, centre of the first voxel): {}\n",
                   vectorText(pixelToWorld.topRightCorner<3, 1>()));
        fmt::print("      Direction (rows): [{}; {}; {}]\n", vectorText(direction.row(0).transpose()),
                   vectorText(direction.row(1).transpose()), vectorText(direction.row(2).transpose()));
        fmt::print("      Value range: {:.6g} to {:.6g}\n", minimum, maximum);
    }
}

} // namespace

CLI::App* InfoCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("info", "Describe the data in a file (.tnw, images, .graphml, ...)");
    command->add_option("file", m_path, "The file to describe")->required();
    return command;
}

int InfoCommand::run(CommandContext&) {
    const std::optional<OwningDataList> data = DataFileIO::load(m_path);
    if (!data)
        return 1;
    fmt::print("{}: {} data set{}\n", m_path, data->size(), data->size() == 1 ? "" : "s");
    for (std::size_t i = 0; i < data->size(); ++i) {
        const Data& item = *data->get(i);
        fmt::print("[{}] '{}': {}\n", i + 1, item.name(), FactoryRegistry::get().describe(item));
        printAnnotationAttributes(item);
        if (const auto* images = dynamic_cast<const SharedImageSet*>(&item))
            printImages(*images);
        const Geometry::AlignedBox bounds = item.bounds();
        if (bounds.isEmpty())
            fmt::print("    Bounds: empty\n");
        else
            fmt::print("    Bounds (world, mm): ({}) to ({})\n", vectorText(bounds.min()), vectorText(bounds.max()));
    }
    return 0;
}

} // namespace Tarnwick::Cli
