// Fuzzes the image file readers: the first input byte picks the format, the rest becomes the file.
// A load must return an image with a valid descriptor or an error message; crashes, hangs, memory
// errors and large allocations are found by libFuzzer and the sanitizers.

#include <TarnwickLib/IO/ImageFileIO.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

const char* const extensions[] = {".nii", ".nii.gz", ".nrrd", ".mha", ".tif"};

const std::filesystem::path& folder() {
    static const std::filesystem::path path = [] {
        auto p = std::filesystem::temp_directory_path() / ("tarnwick-image-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(p);
        return p;
    }();
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const std::string path = (folder() / (std::string("input") + extensions[data[0] % 5])).string();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    std::fwrite(data + 1, 1, size - 1, file);
    std::fclose(file);

    const Tarnwick::ImageFileIO::LoadResult result = Tarnwick::ImageFileIO::load(path);
    if (result && (result.images->size() != 1 || !result.images->mem(0)->descriptor().isValid()))
        std::abort();
    if (!result && result.error.empty())
        std::abort();
    std::remove(path.c_str());
    return 0;
}
