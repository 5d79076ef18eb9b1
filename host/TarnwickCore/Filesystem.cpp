#include <TarnwickCore/Filesystem.h>

#include <TarnwickCore/String.h>

namespace Tarnwick::Filesystem {

std::string Path::filename() const {
    return m_path.filename().string();
}

std::string Path::extension() const {
    const std::string extension = m_path.extension().string();
    return extension.empty() ? extension : String::toLowerCopy(extension.substr(1));
}

Path Path::parent() const {
    return Path(m_path.parent_path());
}

Path Path::join(const Path& child) const {
    return Path(m_path / child.m_path);
}

bool Path::exists() const {
    std::error_code error;
    return std::filesystem::exists(m_path, error);
}

} // namespace Tarnwick::Filesystem

namespace Tarnwick::File {

bool exists(const Filesystem::Path& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path.native(), error);
}

} // namespace Tarnwick::File
