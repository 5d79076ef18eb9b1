// Fuzzes the PLY reader: the input becomes a ".ply" file, which must load or fail with a message.

#include "FuzzSupport.h"

#include <TarnwickLib/IO/MeshFileIO.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    const std::string path = TarnwickFuzz::writeInput(data, size, ".ply");
    if (path.empty())
        return 0;
    const auto result = Tarnwick::MeshFileIO::load(path);
    if (!result.mesh && result.error.empty())
        std::abort();
    return 0;
}
