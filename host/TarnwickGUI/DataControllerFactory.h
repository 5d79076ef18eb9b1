#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

class DataController;
class DataList;

/// The data controllers that plug-ins supply for their data types, by name. The main window asks
/// them, in registration order, for a controller of the data-list selection before it falls back to
/// its own (the image controller, display options). Plug-ins register in init() and unregister
/// before they are unloaded. Use from the GUI thread only.
class DataControllerFactory {
public:
    /// Answers whether `selection` fits; when it does and `out` is not null, also creates the
    /// controller there (the caller owns it).
    using Creator = std::function<bool(const DataList& selection, DataController** out)>;

    static DataControllerFactory& instance();

    /// Registering a name again replaces its creator.
    void registerController(const std::string& name, Creator creator);
    void unregisterController(const std::string& name);
    /// A controller from the first creator that accepts `selection`; null when none does.
    std::unique_ptr<DataController> create(const DataList& selection) const;

private:
    DataControllerFactory() = default;

    std::vector<std::pair<std::string, Creator>> m_creators;
};

} // namespace Tarnwick
