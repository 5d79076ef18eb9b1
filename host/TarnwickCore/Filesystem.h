#pragma once

#include <filesystem>
#include <string>

namespace Tarnwick::Filesystem {

/// A file-system path with the few operations the host needs. Never throws: queries on paths that
/// cannot be inspected answer false.
class Path {
public:
    Path() = default;
    Path(std::filesystem::path path) : m_path(std::move(path)) {}
    Path(const std::string& path) : m_path(path) {}
    Path(const char* path) : m_path(path) {}

    std::string string() const { return m_path.string(); }
    const std::filesystem::path& native() const { return m_path; }
    bool isEmpty() const { return m_path.empty(); }

    /// Last component: "data/vessels.nii.gz" -> "vessels.nii.gz".
    std::string filename() const;
    /// Last extension, lower-cased, without the dot: "Tree.GraphML" -> "graphml", "archive.tar.gz" -> "gz";
    /// empty when there is none (also for hidden files such as ".profile").
    std::string extension() const;
    /// The containing folder: "data/vessels.nii.gz" -> "data"; empty for a bare file name.
    Path parent() const;
    /// This path followed by `child` (an absolute `child` replaces it, as std::filesystem does).
    Path join(const Path& child) const;
    /// Whether anything (file, folder, ...) exists at this path.
    bool exists() const;

    friend bool operator==(const Path& a, const Path& b) { return a.m_path == b.m_path; }
    friend bool operator!=(const Path& a, const Path& b) { return !(a == b); }

private:
    std::filesystem::path m_path;
};

} // namespace Tarnwick::Filesystem

namespace Tarnwick::File {

/// Whether `path` names an existing regular file (folders do not count); never throws.
bool exists(const Filesystem::Path& path);

} // namespace Tarnwick::File
