#include <TarnwickGraph/Pipelines/CsvLocation.h>

#include <TarnwickCore/Filesystem.h>

#include <fmt/format.h>

#include <filesystem>

namespace Tarnwick {

std::optional<std::string> csvLocationError(const std::string& path, const std::string& what) {
    if (Filesystem::Path(path).extension() != "csv")
        return fmt::format("The {} '{}' must end in .csv", what, path);
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder))
        return fmt::format("The folder '{}' of the {} does not exist", folder.string(), what);
    return std::nullopt;
}

} // namespace Tarnwick
