#include <TarnwickGUI/DataControllerFactory.h>

#include <TarnwickGUI/DataController.h>
#include <TarnwickLib/Data/DataList.h>

#include <algorithm>

namespace Tarnwick {

DataControllerFactory& DataControllerFactory::instance() {
    static DataControllerFactory factory;
    return factory;
}

void DataControllerFactory::registerController(const std::string& name, Creator creator) {
    unregisterController(name);
    m_creators.emplace_back(name, std::move(creator));
}

void DataControllerFactory::unregisterController(const std::string& name) {
    m_creators.erase(
        std::remove_if(m_creators.begin(), m_creators.end(), [&](const auto& entry) { return entry.first == name; }),
        m_creators.end());
}

std::unique_ptr<DataController> DataControllerFactory::create(const DataList& selection) const {
    for (const auto& [name, creator] : m_creators) {
        DataController* created = nullptr;
        if (creator(selection, &created) && created)
            return std::unique_ptr<DataController>(created);
    }
    return nullptr;
}

} // namespace Tarnwick
