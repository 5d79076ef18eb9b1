#pragma once

#include <string>
#include <typeinfo>

namespace Tarnwick::Platform {

/// The readable C++ name of a type ("Tarnwick::Graph" rather than "N8Tarnwick5GraphE"); the raw
/// name when it cannot be demangled.
std::string demangleTypeName(const std::type_info& type);

/// The readable name of the dynamic type of `object`.
template <typename T>
std::string demangleTypeName(const T& object) {
    return demangleTypeName(typeid(object));
}

} // namespace Tarnwick::Platform
