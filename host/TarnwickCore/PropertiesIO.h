#pragma once

#include <TarnwickCore/Properties.h>

#include <optional>
#include <string>

namespace Tarnwick::PropertiesIO {

/// Text formats. Only Json (value 4) is supported; other values fail.
enum Format : int { Json = 4 };

/// Serialises `properties` (values, defaults, attributes, groups, name) as text; empty on failure
/// (unsupported format). Non-finite doubles are written as the strings "nan", "inf", "-inf".
/// `indent` < 0 writes a single line.
std::optional<std::string> saveToString(const Properties& properties, int format = Json, int indent = 2);

/// Parses text written by saveToString. Returns nothing for malformed text or an unsupported format;
/// never throws.
std::optional<Properties> loadFromString(const std::string& text, int format = Json);

} // namespace Tarnwick::PropertiesIO
