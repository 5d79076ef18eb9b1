#include <TarnwickLib/Data/DataModel.h>

#include <algorithm>

namespace Tarnwick {

DataModel::~DataModel() { clear(); }

Data* DataModel::add(std::unique_ptr<Data> data) {
    if (!data)
        return nullptr;
    Data* raw = data.get();
    m_items.push_back(std::move(data));
    signalDataAdded.emitSignal(raw);
    return raw;
}

std::vector<Data*> DataModel::add(OwningDataList output) {
    std::vector<Data*> added;
    for (auto& item : output.release())
        added.push_back(add(std::move(item)));
    return added;
}

bool DataModel::remove(const Data* data) {
    auto it = std::find_if(m_items.begin(), m_items.end(), [data](const auto& item) { return item.get() == data; });
    if (it == m_items.end())
        return false;
    signalDataRemoved.emitSignal(it->get());
    m_items.erase(it);
    return true;
}

void DataModel::clear() {
    while (!m_items.empty())
        remove(m_items.back().get());
}

bool DataModel::contains(const Data* data) const {
    return std::any_of(m_items.begin(), m_items.end(), [data](const auto& item) { return item.get() == data; });
}

DataList DataModel::getAll(Data::Kind kind, Data::Modality modality) const {
    DataList result;
    for (const auto& item : m_items)
        if (item->kind() == kind && (modality == Data::NA || item->modality() == modality))
            result.add(item.get());
    return result;
}

DataList DataModel::getAll() const {
    DataList result;
    for (const auto& item : m_items)
        result.add(item.get());
    return result;
}

Data* DataModel::find(const std::string& name) const {
    for (const auto& item : m_items)
        if (item->name() == name)
            return item.get();
    return nullptr;
}

} // namespace Tarnwick
