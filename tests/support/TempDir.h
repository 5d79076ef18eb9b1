#pragma once

#include <filesystem>
#include <string>

namespace Tarnwick::Test {

/// A fresh, empty folder under the system's temporary directory, removed with everything in it
/// when the object goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /// Path of a file named `name` inside the folder, as a string.
    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

} // namespace Tarnwick::Test
