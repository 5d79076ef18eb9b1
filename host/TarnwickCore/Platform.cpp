#include <TarnwickCore/Platform.h>

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Tarnwick::Platform {

std::string demangleTypeName(const std::type_info& type) {
    int status = 0;
    // __cxa_demangle returns a buffer allocated with malloc.
    std::unique_ptr<char, decltype(&std::free)> demangled(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                          &std::free);
    return status == 0 && demangled ? std::string(demangled.get()) : std::string(type.name());
}

} // namespace Tarnwick::Platform
