#pragma once

#include <TarnwickGL/GL/Program.h>

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tarnwick::GL {

/// Compiled programs by (resource names, define lines), keeping the `capacity` (at least 1) most recently
/// used ones.
/// Sources are read with Resource::read. TarnwickGL's own shaders are in the repository the library
/// registers when it is loaded, under "TarnwickGL/<file name>" (for example "TarnwickGL/Pipeline.vert").
/// Use and destroy the cache with the same context current.
class ProgramCache {
public:
    explicit ProgramCache(std::size_t capacity);
    ~ProgramCache();
    ProgramCache(const ProgramCache&) = delete;
    ProgramCache& operator=(const ProgramCache&) = delete;

    /// The compute program of resource `resourceName` with `defineLines`, compiled on first use. Returns
    /// null and sets `error` (when given) when the resource is missing ("resource '<name>' not found") or
    /// does not compile ("<name>: <compiler message>"); failures are not cached. The pointer stays valid
    /// until the program is evicted by later get() calls or the cache is destroyed.
    Program* get(const std::string& resourceName, const std::vector<std::string>& defineLines, std::string* error);
    /// The draw program of the vertex, fragment and (when not empty) geometry resources.
    Program* get(const std::string& vertexResource, const std::string& fragmentResource,
                 const std::string& geometryResource, const std::vector<std::string>& defineLines, std::string* error);

    std::size_t size() const { return m_order.size(); }
    std::size_t capacity() const { return m_capacity; }
    void clear();

private:
    struct Item {
        std::string key;
        std::unique_ptr<Program> program;
    };
    Program* lookup(const std::string& key);
    Program* insert(std::string key, std::unique_ptr<Program> program);

    std::size_t m_capacity;
    std::list<Item> m_order; // most recently used first
    std::unordered_map<std::string, std::list<Item>::iterator> m_index;
};

} // namespace Tarnwick::GL
