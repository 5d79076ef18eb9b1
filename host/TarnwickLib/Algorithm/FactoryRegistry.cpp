#include <TarnwickLib/Algorithm/FactoryRegistry.h>

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Algorithm/AlgorithmController.h>
#include <TarnwickLib/Algorithm/AlgorithmControllerFactory.h>
#include <TarnwickLib/Algorithm/DataAnnotationFactory.h>

#include <algorithm>

namespace Tarnwick {

namespace {

template <typename T>
void addOnce(std::vector<T*>& list, T* item) {
    if (item && std::find(list.begin(), list.end(), item) == list.end())
        list.push_back(item);
}

template <typename T>
void remove(std::vector<T*>& list, const T* item) {
    list.erase(std::remove(list.begin(), list.end(), item), list.end());
}

} // namespace

FactoryRegistry& FactoryRegistry::get() {
    static FactoryRegistry registry;
    return registry;
}

void FactoryRegistry::addAlgorithmFactory(AlgorithmFactory* factory) {
    addOnce(m_algorithmFactories, factory);
}
void FactoryRegistry::removeAlgorithmFactory(const AlgorithmFactory* factory) {
    remove(m_algorithmFactories, factory);
}
void FactoryRegistry::addControllerFactory(AlgorithmControllerFactory* factory) {
    addOnce(m_controllerFactories, factory);
}
void FactoryRegistry::removeControllerFactory(const AlgorithmControllerFactory* factory) {
    remove(m_controllerFactories, factory);
}
void FactoryRegistry::addAnnotationFactory(DataAnnotationFactory* factory) {
    addOnce(m_annotationFactories, factory);
}
void FactoryRegistry::removeAnnotationFactory(const DataAnnotationFactory* factory) {
    remove(m_annotationFactories, factory);
}

std::vector<FactoryRegistry::AlgorithmInfo> FactoryRegistry::algorithms() const {
    std::vector<AlgorithmInfo> result;
    for (const AlgorithmFactory* factory : m_algorithmFactories)
        for (const auto& entry : factory->entries())
            result.push_back({factory->name(), entry.id, entry.menuName, entry.flags, factory});
    return result;
}

std::vector<FactoryRegistry::AlgorithmInfo> FactoryRegistry::compatibleAlgorithms(const DataList& data) const {
    std::vector<AlgorithmInfo> result = algorithms();
    result.erase(std::remove_if(result.begin(), result.end(),
                                [&](const AlgorithmInfo& info) { return !info.factory->isCompatible(info.id, data); }),
                 result.end());
    return result;
}

std::optional<FactoryRegistry::AlgorithmInfo> FactoryRegistry::findAlgorithm(const std::string& id) const {
    for (const AlgorithmInfo& info : algorithms())
        if (info.id == id)
            return info;
    return std::nullopt;
}

std::unique_ptr<Algorithm> FactoryRegistry::createAlgorithm(const std::string& id, const DataList& data) const {
    const auto info = findAlgorithm(id);
    if (!info) {
        TW_LOG_ERROR("Unknown algorithm '{}'", id);
        return nullptr;
    }
    return info->factory->create(id, data);
}

std::string FactoryRegistry::describe(const Data& data) const {
    for (const DataAnnotationFactory* factory : m_annotationFactories) {
        std::string description = factory->dataDescription(data);
        if (!description.empty())
            return description;
    }
    return data.describe();
}

std::unique_ptr<Data> FactoryRegistry::cloneData(const Data* data) const {
    if (!data)
        return nullptr;
    for (const DataAnnotationFactory* factory : m_annotationFactories)
        if (Data* copy = factory->cloneData(data))
            return std::unique_ptr<Data>(copy);
    return nullptr;
}

std::unique_ptr<AlgorithmController> FactoryRegistry::createController(Algorithm* algorithm) const {
    if (!algorithm)
        return nullptr;
    for (const AlgorithmControllerFactory* factory : m_controllerFactories)
        if (AlgorithmController* controller = factory->create(algorithm))
            return std::unique_ptr<AlgorithmController>(controller);
    return nullptr;
}

std::unique_ptr<Algorithm> FactoryRegistry::createSample(const AlgorithmInfo& info) {
    const AlgorithmFactory::Entry* entry = info.factory->entry(info.id);
    if (entry && entry->prototype)
        return entry->prototype();
    if (info.factory->isCompatible(info.id, DataList{}))
        return info.factory->create(info.id, DataList{});
    return nullptr;
}

} // namespace Tarnwick
