#include "DataStore.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <fmt/format.h>

namespace Tarnwick::Cli {

std::optional<DataList> DataStore::load(const std::string& path) {
    std::optional<OwningDataList> loaded = DataFileIO::load(path);
    if (!loaded)
        return std::nullopt;
    const DataList items = adopt(std::move(*loaded));
    for (const Data* data : items)
        fmt::print("Loaded {}: {}\n", path, FactoryRegistry::get().describe(*data));
    return items;
}

DataList DataStore::adopt(OwningDataList data) {
    DataList items;
    for (auto& item : data.release()) {
        items.add(item.get());
        m_data.push_back(std::move(item));
    }
    return items;
}

bool DataStore::save(const std::string& path, const DataList& data) {
    if (!DataFileIO::save(path, data))
        return false;
    for (const Data* item : data)
        fmt::print("Saved {}: {}\n", path, FactoryRegistry::get().describe(*item));
    return true;
}

} // namespace Tarnwick::Cli
