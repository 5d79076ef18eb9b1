#include <TarnwickLib/IO/SaveTemporary.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace Tarnwick {

namespace {

constexpr int maxLinks = 40;

fs::path folderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

/// Whether `name` is a temporary of `prefix` (".NAME."): the prefix and six more characters.
bool isTemporaryName(const std::string& name, const std::string& prefix) {
    return name.size() == prefix.size() + 6 && name.compare(0, prefix.size(), prefix) == 0;
}

/// Removes the temporaries of `target` that this user owns and that nobody holds locked.
void removeStale(const fs::path& target) {
    const std::string prefix = "." + target.filename().string() + ".";
    std::error_code ec;
    std::vector<fs::path> stale;
    for (const fs::directory_entry& entry : fs::directory_iterator(folderOf(target), ec)) {
        if (!isTemporaryName(entry.path().filename().string(), prefix))
            continue;
        const int descriptor = ::open(entry.path().c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        struct stat info {};
        const bool ours = ::fstat(descriptor, &info) == 0 && info.st_uid == ::geteuid() &&
                          (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode));
        if (ours && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
            stale.push_back(entry.path());
        ::close(descriptor);
    }
    for (const fs::path& path : stale)
        fs::remove_all(path, ec);
}

} // namespace

SaveTemporary::SaveTemporary(const fs::path& target, Kind kind) {
    removeStale(target);
    std::string name = (folderOf(target) / ("." + target.filename().string() + ".XXXXXX")).string();
    if (kind == Kind::File) {
        m_descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    } else if (::mkdtemp(name.data())) {
        m_descriptor = ::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (m_descriptor < 0)
            ::rmdir(name.c_str());
    }
    if (m_descriptor < 0) {
        m_errorNumber = errno;
        return;
    }
    m_path = name;
    ::flock(m_descriptor, LOCK_EX);
}

SaveTemporary::~SaveTemporary() {
    if (!m_path.empty()) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void SaveTemporary::release() {
    m_path.clear();
}

std::string SaveTemporary::spaceShortage(std::uint64_t bytes) const {
    if (!created() || bytes == 0)
        return {};
    const bool folder = fs::is_directory(m_path);
    const fs::path probe = m_path / ".space";
    const int descriptor = folder ? ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600) : m_descriptor;
    if (descriptor < 0)
        return std::strerror(errno);
    const int error = ::posix_fallocate(descriptor, 0, static_cast<off_t>(bytes));
    if (folder) {
        ::close(descriptor);
        ::unlink(probe.c_str());
    }
    return error == 0 ? std::string() : std::strerror(error);
}

fs::path SaveTemporary::resolveLinks(const fs::path& path) {
    fs::path resolved = path;
    std::error_code ec;
    for (int i = 0; i < maxLinks && fs::is_symlink(resolved, ec); ++i) {
        const fs::path to = fs::read_symlink(resolved, ec);
        if (ec)
            break;
        resolved = to.is_absolute() ? to : folderOf(resolved) / to;
    }
    return resolved;
}

} // namespace Tarnwick
