#include <TarnwickLib/Data/DataComponent.h>

#include <typeinfo>

namespace Tarnwick {

DataComponentList::DataComponentList(const DataComponentList& other) {
    for (const auto& c : other.m_components)
        m_components.push_back(c->clone());
}

DataComponentList& DataComponentList::operator=(const DataComponentList& other) {
    if (this != &other) {
        std::vector<std::unique_ptr<DataComponentBase>> copies;
        for (const auto& c : other.m_components)
            copies.push_back(c->clone());
        m_components = std::move(copies);
    }
    return *this;
}

DataComponentBase& DataComponentList::add(std::unique_ptr<DataComponentBase> component) {
    DataComponentBase* raw = component.get();
    bool replaced = false;
    for (auto& existing : m_components) {
        if (typeid(*existing) == typeid(*raw)) {
            existing = std::move(component);
            replaced = true;
            break;
        }
    }
    if (!replaced)
        m_components.push_back(std::move(component));
    signalComponentAdded.emitSignal(raw);
    return *raw;
}

std::vector<const DataComponentBase*> DataComponentList::all() const {
    std::vector<const DataComponentBase*> result;
    for (const auto& c : m_components)
        result.push_back(c.get());
    return result;
}

bool DataComponentList::operator==(const DataComponentList& other) const {
    if (m_components.size() != other.m_components.size())
        return false;
    for (std::size_t i = 0; i < m_components.size(); ++i)
        if (!m_components[i]->equals(*other.m_components[i]))
            return false;
    return true;
}

} // namespace Tarnwick
