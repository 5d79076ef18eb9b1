#pragma once

// Shared by the fuzz targets: quiet logging and a per-process temporary file for readers that take a
// path.

#include <TarnwickCore/Log.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

namespace TarnwickFuzz {

/// Drops log messages below Fatal once, so error logging does not dominate the run time.
inline void quietLog() {
    static const bool done = [] {
        Tarnwick::Log::setGlobalLevel(Tarnwick::Log::Fatal);
        return true;
    }();
    (void)done;
}

/// Writes the bytes to "input<extension>" in a folder of this process and returns its path, or an
/// empty string when the file cannot be written.
inline std::string writeInput(const std::uint8_t* data, std::size_t size, const std::string& extension) {
    static const std::filesystem::path folder = [] {
        auto p = std::filesystem::temp_directory_path() / ("tarnwick-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(p);
        return p;
    }();
    const std::string path = (folder / ("input" + extension)).string();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return {};
    const bool ok = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && ok ? path : std::string();
}

} // namespace TarnwickFuzz
