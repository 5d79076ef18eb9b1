// Fuzzes workspace parsing: any text must give a workspace or an error message.

#include "FuzzSupport.h"

#include <TarnwickLib/IO/Workspace.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    std::string error;
    const auto workspace =
        Tarnwick::Workspace::parse(std::string(reinterpret_cast<const char*>(data), size), "/fuzz", error);
    if (!workspace && error.empty())
        std::abort();
    return 0;
}
