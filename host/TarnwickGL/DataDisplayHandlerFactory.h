#pragma once

#include <TarnwickGL/DataDisplayHandler.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Tarnwick {

/// The process-wide registry of display handlers, by name (for example "Tarnwick.GraphDisplayHandler").
/// Registering a name again replaces its creator and drops its shared instance. Thread-safe.
class DataDisplayHandlerFactory {
public:
    using Creator = std::function<std::unique_ptr<DataDisplayHandler>()>;

    static DataDisplayHandlerFactory& instance();

    void registerHandler(const std::string& name, Creator creator);
    /// Removes the name and destroys its shared instance (a plug-in does this before it is unloaded).
    void unregisterHandler(const std::string& name);
    /// Registered names in registration order.
    std::vector<std::string> names() const;
    /// A new handler of that name; null for an unknown name or a creator that returns none.
    std::unique_ptr<DataDisplayHandler> create(const std::string& name) const;
    /// The shared instance of the first handler, in registration order, that handles `data`
    /// (instances are created on first use); null when none does.
    DataDisplayHandler* handlerFor(const Data& data);

private:
    DataDisplayHandlerFactory() = default;

    struct Entry {
        std::string name;
        Creator creator;
        std::unique_ptr<DataDisplayHandler> shared;
    };
    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

} // namespace Tarnwick
