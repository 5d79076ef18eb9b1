#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// A set of named binary resources (shader sources, mostly), looked up by name such as
/// "TarnwickGraph/GraphToLabelVessel.comp".
class ResourceRepository {
public:
    virtual ~ResourceRepository();
    /// The content of the resource, or nullopt when this repository does not hold `name`.
    virtual std::optional<std::string> read(const std::string& name) const = 0;
    /// Every name this repository holds, sorted.
    virtual std::vector<std::string> names() const = 0;
};

/// Resources compiled into the binary by the CMake function tarnwick_embed_resources(). Each entry is
/// stored enciphered with a keyed XOR keystream and deciphered on read. This keeps shader text from
/// showing up as plain strings in the binary; it is obfuscation, not security (the key is in the binary too).
/// The entries point at static data: the repository does not copy them.
class EmbeddedResourceRepository : public ResourceRepository {
public:
    struct Entry {
        const char* name;
        const unsigned char* bytes; ///< enciphered content
        std::size_t size;
    };

    EmbeddedResourceRepository(std::uint32_t key, std::vector<Entry> entries);

    std::optional<std::string> read(const std::string& name) const override;
    std::vector<std::string> names() const override;
    /// The bytes as stored (enciphered), or an empty view when `name` is unknown.
    std::string_view stored(const std::string& name) const;

    /// Applies the keystream of (key, name) to `bytes`. The transform is its own inverse, so it both
    /// enciphers and deciphers. The keystream: a 32-bit xorshift generator seeded with
    /// key ^ FNV-1a(name) (1 when that is 0), one step per byte, the byte XORed with bits 24..31.
    static std::string transform(std::uint32_t key, const std::string& name, std::string_view bytes);

private:
    const Entry* find(const std::string& name) const;

    std::uint32_t m_key;
    std::vector<Entry> m_entries; // sorted by name
};

/// The process-wide list of repositories. Thread-safe.
namespace Resource {
/// Adds a repository; repositories added later are searched first, so they can override earlier names.
/// Adding the same repository twice has no effect.
void addRepository(std::shared_ptr<ResourceRepository> repository);
/// Removes a repository (no effect when it is not registered).
void removeRepository(const ResourceRepository* repository);
/// The content of the named resource from the first repository holding it, or nullopt.
std::optional<std::string> read(const std::string& name);
} // namespace Resource

} // namespace Tarnwick
