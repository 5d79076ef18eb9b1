#pragma once

#include <TarnwickCore/Properties.h>
#include <TarnwickLib/Algorithm/Algorithm.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// A named catalogue of algorithm classes, each under an identifier (kept in workspace files and
/// scripts) and a menu name ("Category;Title"). A plug-in creates one, registers its classes and
/// hands it to the host; the host asks it which algorithms fit a selection and creates them.
class AlgorithmFactory {
public:
    /// `createCompatible(data, out)`: whether the selection fits; when `out` is non-null and it does,
    /// stores a new algorithm (owned by the caller) in *out.
    using CreateFunction = bool (*)(const DataList& data, Algorithm** out);
    /// Makes an algorithm without input, only to list its parameters; null when the class needs input.
    using PrototypeFunction = std::unique_ptr<Algorithm> (*)();

    struct Entry {
        std::string id;
        std::string menuName;
        int flags = 0;
        /// Named preset configurations (the Properties' names are the preset names).
        std::vector<Properties> presets;
        CreateFunction createCompatible = nullptr;
        PrototypeFunction prototype = nullptr;
    };

    explicit AlgorithmFactory(std::string name);
    virtual ~AlgorithmFactory();
    AlgorithmFactory(const AlgorithmFactory&) = delete;
    AlgorithmFactory& operator=(const AlgorithmFactory&) = delete;

    const std::string& name() const { return m_name; }

    /// Registers class T under `id`. T provides `static bool createCompatible(const DataList&,
    /// Algorithm**)`; when T is default-constructible, listings can show its parameters without
    /// input. Fails (logging an error) for an empty or already registered id.
    template <class T>
    bool registerAlgorithm(const std::string& id, const std::string& menuName, int flags = 0,
                           std::vector<Properties> presets = {}) {
        static_assert(std::is_base_of_v<Algorithm, T>, "registered classes derive from Algorithm");
        PrototypeFunction prototype = nullptr;
        if constexpr (std::is_default_constructible_v<T>)
            prototype = []() -> std::unique_ptr<Algorithm> { return std::make_unique<T>(); };
        return addEntry({id, menuName, flags, std::move(presets), &T::createCompatible, prototype});
    }

    /// All registrations in registration order.
    const std::vector<Entry>& entries() const { return m_entries; }
    const Entry* entry(const std::string& id) const;

    /// Whether the algorithm `id` accepts `data`; false for an unknown id. An exception thrown by the
    /// class's test is logged and counts as false.
    bool isCompatible(const std::string& id, const DataList& data) const;
    /// Creates the algorithm `id` on `data` with its factory info set; null (with a logged error)
    /// when the id is unknown, the data does not fit or creation failed.
    std::unique_ptr<Algorithm> create(const std::string& id, const DataList& data) const;

private:
    bool addEntry(Entry entry);

    std::string m_name;
    std::vector<Entry> m_entries;
};

} // namespace Tarnwick
