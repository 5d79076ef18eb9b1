#pragma once

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class AlgorithmController;
class AlgorithmControllerFactory;
class DataAnnotationFactory;

/// The process-wide list of algorithm, controller and data-annotation factories, shared by the
/// applications and every loaded plug-in (the library is shared, so there is one instance).
///
/// Ownership: the registry only refers to factories. Whoever adds a factory keeps it alive and
/// removes it before destroying it; a plug-in does both through TarnwickLibPlugin, which the plug-in
/// manager unregisters before it unloads the library. Queries ask factories in the order they were
/// added. Not thread-safe: use from the application's main thread.
class FactoryRegistry {
public:
    /// One entry of the algorithm catalogue.
    struct AlgorithmInfo {
        std::string factoryName;
        std::string id;
        std::string menuName;
        int flags = 0;
        const AlgorithmFactory* factory = nullptr;
    };

    static FactoryRegistry& get();

    /// An instance only for listing the algorithm's parameters: its prototype, or one created on an
    /// empty selection; null when it needs input to exist.
    static std::unique_ptr<Algorithm> createSample(const AlgorithmInfo& info);

    FactoryRegistry(const FactoryRegistry&) = delete;
    FactoryRegistry& operator=(const FactoryRegistry&) = delete;

    /// Adding null or an already added factory has no effect; removing an unknown one neither.
    void addAlgorithmFactory(AlgorithmFactory* factory);
    void removeAlgorithmFactory(const AlgorithmFactory* factory);
    void addControllerFactory(AlgorithmControllerFactory* factory);
    void removeControllerFactory(const AlgorithmControllerFactory* factory);
    void addAnnotationFactory(DataAnnotationFactory* factory);
    void removeAnnotationFactory(const DataAnnotationFactory* factory);

    const std::vector<AlgorithmFactory*>& algorithmFactories() const { return m_algorithmFactories; }
    const std::vector<AlgorithmControllerFactory*>& controllerFactories() const { return m_controllerFactories; }
    const std::vector<DataAnnotationFactory*>& annotationFactories() const { return m_annotationFactories; }

    /// Every registered algorithm, factory by factory in registration order.
    std::vector<AlgorithmInfo> algorithms() const;
    /// The algorithms that accept `data`.
    std::vector<AlgorithmInfo> compatibleAlgorithms(const DataList& data) const;
    /// The first registration of `id`, or nothing.
    std::optional<AlgorithmInfo> findAlgorithm(const std::string& id) const;
    /// Creates algorithm `id` on `data`; null with a logged error when the id is unknown or the data
    /// does not fit.
    std::unique_ptr<Algorithm> createAlgorithm(const std::string& id, const DataList& data) const;

    /// The first non-empty description an annotation factory gives, else data.describe().
    std::string describe(const Data& data) const;
    /// A deep copy from the first annotation factory that knows the type, or null.
    std::unique_ptr<Data> cloneData(const Data* data) const;
    /// The first controller a controller factory creates for `algorithm`, or null.
    std::unique_ptr<AlgorithmController> createController(Algorithm* algorithm) const;

private:
    FactoryRegistry() = default;

    std::vector<AlgorithmFactory*> m_algorithmFactories;
    std::vector<AlgorithmControllerFactory*> m_controllerFactories;
    std::vector<DataAnnotationFactory*> m_annotationFactories;
};

} // namespace Tarnwick
