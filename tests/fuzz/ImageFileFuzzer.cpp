// Fuzzes the image file readers: the first input byte picks the format (and so the extension), the
// rest becomes the file. A load must return an image with a valid descriptor or an error message.
// Detached headers (".nhdr", ".mhd") name their data file themselves, relative to the same folder.

#include "FuzzSupport.h"

#include <TarnwickLib/IO/ImageFileIO.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

const char* const extensions[] = {".nii", ".nii.gz", ".nrrd", ".mha", ".tif", ".nhdr", ".mhd"};
constexpr std::size_t extensionCount = sizeof(extensions) / sizeof(extensions[0]);

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    TarnwickFuzz::quietLog();
    const std::string path = TarnwickFuzz::writeInput(data + 1, size - 1, extensions[data[0] % extensionCount]);
    if (path.empty())
        return 0;
    const Tarnwick::ImageFileIO::LoadResult result = Tarnwick::ImageFileIO::load(path);
    if (result && (result.images->size() != 1 || !result.images->mem(0)->descriptor().isValid()))
        std::abort();
    if (!result && result.error.empty())
        std::abort();
    return 0;
}
