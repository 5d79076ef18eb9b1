#include <TarnwickLib/Data/DataModel.h>

#include <algorithm>

namespace Tarnwick {

DataModel::~DataModel() {
    clear();
}

Data* DataModel::add(std::unique_ptr<Data> data) {
    return insert(m_items.size(), std::move(data));
}

Data* DataModel::insert(std::size_t index, std::unique_ptr<Data> data) {
    if (!data)
        return nullptr;
    Data* raw = data.get();
    m_items.insert(m_items.begin() + std::ptrdiff_t(std::min(index, m_items.size())), std::move(data));
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
    return take(data) != nullptr;
}

std::unique_ptr<Data> DataModel::take(const Data* data) {
    const std::size_t index = indexOf(data);
    if (index == m_items.size())
        return nullptr;
    signalDataRemoved.emitSignal(m_items[index].get());
    std::unique_ptr<Data> taken = std::move(m_items[index]);
    m_items.erase(m_items.begin() + std::ptrdiff_t(index));
    return taken;
}

void DataModel::clear() {
    while (!m_items.empty())
        remove(m_items.back().get());
}

bool DataModel::contains(const Data* data) const {
    return indexOf(data) != m_items.size();
}

std::size_t DataModel::indexOf(const Data* data) const {
    const auto it =
        std::find_if(m_items.begin(), m_items.end(), [data](const auto& item) { return item.get() == data; });
    return std::size_t(it - m_items.begin());
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
