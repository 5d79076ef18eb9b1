// Fuzzes the properties text (format 4): any text must parse or be refused, and whatever parses must
// be written again and read back.

#include "FuzzSupport.h"

#include <TarnwickCore/PropertiesIO.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    const auto properties =
        Tarnwick::PropertiesIO::loadFromString(std::string(reinterpret_cast<const char*>(data), size));
    if (!properties)
        return 0;
    const auto text = Tarnwick::PropertiesIO::saveToString(*properties);
    if (!text || !Tarnwick::PropertiesIO::loadFromString(*text))
        std::abort();
    return 0;
}
