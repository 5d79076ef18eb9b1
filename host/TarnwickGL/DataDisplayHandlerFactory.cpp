#include <TarnwickGL/DataDisplayHandlerFactory.h>

#include <algorithm>

namespace Tarnwick {

DataDisplayHandlerFactory& DataDisplayHandlerFactory::instance() {
    static DataDisplayHandlerFactory factory;
    return factory;
}

void DataDisplayHandlerFactory::registerHandler(const std::string& name, Creator creator) {
    std::unique_ptr<DataDisplayHandler> replaced; // destroyed after the lock is released
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.name == name; });
    if (it == m_entries.end()) {
        m_entries.push_back({name, std::move(creator), nullptr});
    } else {
        it->creator = std::move(creator);
        replaced = std::move(it->shared);
    }
}

void DataDisplayHandlerFactory::unregisterHandler(const std::string& name) {
    std::unique_ptr<DataDisplayHandler> removed; // destroyed after the lock is released
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.name == name; });
    if (it == m_entries.end())
        return;
    removed = std::move(it->shared);
    m_entries.erase(it);
}

std::vector<std::string> DataDisplayHandlerFactory::names() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> result;
    for (const Entry& e : m_entries)
        result.push_back(e.name);
    return result;
}

std::unique_ptr<DataDisplayHandler> DataDisplayHandlerFactory::create(const std::string& name) const {
    Creator creator;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.name == name; });
        if (it == m_entries.end() || !it->creator)
            return nullptr;
        creator = it->creator;
    }
    return creator();
}

DataDisplayHandler* DataDisplayHandlerFactory::handlerFor(const Data& data) {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (Entry& e : m_entries) {
        if (!e.shared && e.creator)
            e.shared = e.creator();
        if (e.shared && e.shared->handlesType(data))
            return e.shared.get();
    }
    return nullptr;
}

} // namespace Tarnwick
