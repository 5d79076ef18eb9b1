#include <TarnwickCore/Resource.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace Tarnwick {

ResourceRepository::~ResourceRepository() = default;

namespace {

std::uint32_t fnv1a(const std::string& text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

} // namespace

EmbeddedResourceRepository::EmbeddedResourceRepository(std::uint32_t key, std::vector<Entry> entries)
    : m_key(key), m_entries(std::move(entries)) {
    std::sort(m_entries.begin(), m_entries.end(),
              [](const Entry& a, const Entry& b) { return std::strcmp(a.name, b.name) < 0; });
}

std::string EmbeddedResourceRepository::transform(std::uint32_t key, const std::string& name, std::string_view bytes) {
    std::uint32_t state = key ^ fnv1a(name);
    if (state == 0)
        state = 1;
    std::string result(bytes);
    for (char& c : result) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        c = static_cast<char>(static_cast<unsigned char>(c) ^ (state >> 24));
    }
    return result;
}

const EmbeddedResourceRepository::Entry* EmbeddedResourceRepository::find(const std::string& name) const {
    const auto it = std::lower_bound(m_entries.begin(), m_entries.end(), name,
                                     [](const Entry& entry, const std::string& n) { return entry.name < n; });
    return it != m_entries.end() && it->name == name ? &*it : nullptr;
}

std::string_view EmbeddedResourceRepository::stored(const std::string& name) const {
    const Entry* entry = find(name);
    return entry ? std::string_view(reinterpret_cast<const char*>(entry->bytes), entry->size) : std::string_view();
}

std::optional<std::string> EmbeddedResourceRepository::read(const std::string& name) const {
    if (!find(name))
        return std::nullopt;
    return transform(m_key, name, stored(name));
}

std::vector<std::string> EmbeddedResourceRepository::names() const {
    std::vector<std::string> result;
    result.reserve(m_entries.size());
    for (const Entry& entry : m_entries)
        result.emplace_back(entry.name);
    return result;
}

namespace Resource {
namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<ResourceRepository>> repositories; // most recently added first
};

Registry& registry() {
    static Registry instance;
    return instance;
}

} // namespace

void addRepository(std::shared_ptr<ResourceRepository> repository) {
    if (!repository)
        return;
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    if (std::find(r.repositories.begin(), r.repositories.end(), repository) == r.repositories.end())
        r.repositories.insert(r.repositories.begin(), std::move(repository));
}

void removeRepository(const ResourceRepository* repository) {
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.repositories.erase(std::remove_if(r.repositories.begin(), r.repositories.end(),
                                        [&](const auto& entry) { return entry.get() == repository; }),
                         r.repositories.end());
}

std::optional<std::string> read(const std::string& name) {
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    for (const auto& repository : r.repositories) {
        if (auto content = repository->read(name))
            return content;
    }
    return std::nullopt;
}

} // namespace Resource
} // namespace Tarnwick
