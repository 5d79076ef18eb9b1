#include <TarnwickGL/GL/ProgramCache.h>

#include <TarnwickCore/Resource.h>

#include <algorithm>

namespace Tarnwick::GL {

namespace {

std::string cacheKey(const std::vector<std::string>& resources, const std::vector<std::string>& defineLines) {
    std::string key;
    for (const std::string& part : resources)
        key += part + '\n';
    key += '\x01';
    for (const std::string& line : defineLines)
        key += line + '\n';
    return key;
}

// Reads every named resource (empty names stay empty); false with the reason when one is missing.
bool readSources(const std::vector<std::string>& names, std::vector<std::string>& sources, std::string* error) {
    sources.clear();
    for (const std::string& name : names) {
        std::optional<std::string> source = name.empty() ? std::optional<std::string>("") : Resource::read(name);
        if (!source) {
            if (error)
                *error = "resource '" + name + "' not found";
            return false;
        }
        sources.push_back(std::move(*source));
    }
    return true;
}

} // namespace

ProgramCache::ProgramCache(std::size_t capacity) : m_capacity(std::max<std::size_t>(capacity, 1)) {}

ProgramCache::~ProgramCache() = default;

Program* ProgramCache::get(const std::string& resourceName, const std::vector<std::string>& defineLines,
                           std::string* error) {
    std::string key = cacheKey({resourceName}, defineLines);
    if (Program* cached = lookup(key))
        return cached;
    std::vector<std::string> sources;
    if (!readSources({resourceName}, sources, error))
        return nullptr;
    std::string compileError;
    auto program = Program::createCompute(sources[0], defineLines, &compileError);
    if (!program) {
        if (error)
            *error = resourceName + ": " + compileError;
        return nullptr;
    }
    return insert(std::move(key), std::move(program));
}

Program* ProgramCache::get(const std::string& vertexResource, const std::string& fragmentResource,
                           const std::string& geometryResource, const std::vector<std::string>& defineLines,
                           std::string* error) {
    const std::vector<std::string> names = {vertexResource, fragmentResource, geometryResource};
    std::string key = cacheKey(names, defineLines);
    if (Program* cached = lookup(key))
        return cached;
    std::vector<std::string> sources;
    if (!readSources(names, sources, error))
        return nullptr;
    std::string compileError;
    auto program = Program::create(sources[0], sources[1], sources[2], defineLines, &compileError);
    if (!program) {
        if (error)
            *error = vertexResource + ", " + fragmentResource +
                     (geometryResource.empty() ? "" : ", " + geometryResource) + ": " + compileError;
        return nullptr;
    }
    return insert(std::move(key), std::move(program));
}

void ProgramCache::clear() {
    m_index.clear();
    m_order.clear();
}

Program* ProgramCache::lookup(const std::string& key) {
    const auto it = m_index.find(key);
    if (it == m_index.end())
        return nullptr;
    m_order.splice(m_order.begin(), m_order, it->second);
    return m_order.front().program.get();
}

Program* ProgramCache::insert(std::string key, std::unique_ptr<Program> program) {
    m_order.push_front({key, std::move(program)});
    m_index[std::move(key)] = m_order.begin();
    while (m_order.size() > m_capacity) {
        m_index.erase(m_order.back().key);
        m_order.pop_back();
    }
    return m_order.front().program.get();
}

} // namespace Tarnwick::GL
