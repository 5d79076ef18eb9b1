#include <TarnwickLib/Plugin/SharedLibrary.h>

#include <dlfcn.h>

namespace Tarnwick {

std::unique_ptr<SharedLibrary> SharedLibrary::open(const std::string& path, std::string& error) {
    dlerror(); // clear a stale message
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* message = dlerror();
        error = message ? message : "cannot open " + path;
        return nullptr;
    }
    return std::unique_ptr<SharedLibrary>(new SharedLibrary(handle, path));
}

SharedLibrary::~SharedLibrary() {
    dlclose(m_handle);
}

void* SharedLibrary::symbol(const char* name) const {
    return dlsym(m_handle, name);
}

} // namespace Tarnwick
