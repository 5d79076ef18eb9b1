#pragma once

#include <memory>
#include <string>

namespace Tarnwick {

/// An open dynamic library (dlopen with all symbols resolved at once, kept local to the library);
/// closed when the object is destroyed.
class SharedLibrary {
public:
    /// Opens `path`; null with the loader's message in `error` when it cannot be opened.
    static std::unique_ptr<SharedLibrary> open(const std::string& path, std::string& error);

    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    /// Address of an exported symbol, or null when the library has none of that name.
    void* symbol(const char* name) const;
    const std::string& path() const { return m_path; }

private:
    SharedLibrary(void* handle, std::string path) : m_handle(handle), m_path(std::move(path)) {}

    void* m_handle;
    std::string m_path;
};

} // namespace Tarnwick
