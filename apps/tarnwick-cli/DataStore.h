#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick::Cli {

/// Owns the data sets a command loads or produces, loads and saves files by their extensions
/// (DataFileIO) and reports each file on standard output. Failures are logged with their reason.
class DataStore {
public:
    /// The data sets of the file at `path`, kept by the store; nothing when it cannot be loaded.
    std::optional<DataList> load(const std::string& path);
    /// Takes over `data` and returns its items.
    DataList adopt(OwningDataList data);
    /// Writes `data` to `path`.
    static bool save(const std::string& path, const DataList& data);

private:
    std::vector<std::unique_ptr<Data>> m_data;
};

} // namespace Tarnwick::Cli
