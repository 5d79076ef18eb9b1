#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace Tarnwick {

/// A hidden temporary file or folder next to a save target, named ".NAME.XXXXXX" after the target's
/// file name, into which a save writes before it renames the result over the target.
///
/// The temporary holds an exclusive advisory lock (flock) for as long as this object lives. A save
/// that is killed (by a signal, or by the file-size limit) cannot remove its temporary, but the kernel
/// releases its lock; so before creating its own, every save removes the temporaries of the same
/// target that belong to this user and that it can lock: those are leftovers, never a save in progress.
class SaveTemporary {
public:
    enum class Kind { File, Folder };

    /// Removes stale temporaries of `target`, then creates a new one. Check created().
    SaveTemporary(const std::filesystem::path& target, Kind kind);
    /// Removes the temporary (and a folder's contents) unless it was renamed away.
    ~SaveTemporary();
    SaveTemporary(const SaveTemporary&) = delete;
    SaveTemporary& operator=(const SaveTemporary&) = delete;

    /// False when the temporary could not be created; errorNumber() tells why.
    bool created() const { return m_descriptor >= 0; }
    int errorNumber() const { return m_errorNumber; }
    const std::filesystem::path& path() const { return m_path; }
    /// The open, locked descriptor: of the file (open for writing), or of the folder.
    int descriptor() const { return m_descriptor; }
    /// Forgets a temporary file that was renamed over its target, so that it is not removed.
    void release();
    /// Why `bytes` bytes cannot be written here, found by reserving them: the file-size limit's or the
    /// full disk's message ("File too large", "No space left on device"), or empty when they fit. Used
    /// after a failed write whose writer did not say why.
    std::string spaceShortage(std::uint64_t bytes) const;

    /// The path a save of `path` must replace: `path` with its symbolic links followed (up to 40 of
    /// them, a dangling link included), so that a save writes through a link instead of replacing it.
    static std::filesystem::path resolveLinks(const std::filesystem::path& path);

private:
    std::filesystem::path m_path;
    int m_descriptor = -1;
    int m_errorNumber = 0;
};

} // namespace Tarnwick
