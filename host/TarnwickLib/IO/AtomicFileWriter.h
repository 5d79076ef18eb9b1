#pragma once

#include <TarnwickLib/IO/SaveTemporary.h>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>

namespace Tarnwick {

/// Writes a file so that a failure never damages the file already there: the content goes to a new
/// temporary file in the target's folder (see SaveTemporary), which replaces the target (by renaming,
/// atomic on POSIX file systems) only in commit(). Destroying the writer without a successful commit
/// removes the temporary file and leaves the target as it was. A target that is a symbolic link is
/// written through: the file the link points to is replaced, the link stays.
class AtomicFileWriter {
public:
    explicit AtomicFileWriter(std::string targetPath);
    ~AtomicFileWriter();
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

    /// Creates the temporary file. Returns false with the reason in `error` when it cannot.
    bool open(std::string& error);
    /// The binary stream writing the temporary file (valid after a successful open()).
    std::ostream& stream() { return m_stream; }
    /// Flushes the content to disk, gives it the target's permissions (0644 for a new file) and renames
    /// it over the target. Returns false with the reason in `error` when any step fails; a failed write
    /// names its cause ("File too large", "No space left on device").
    bool commit(std::string& error);
    /// Why writing the temporary file failed (for example "No space left on device"); empty while
    /// every write succeeded.
    std::string writeError() const;

private:
    class DescriptorBuffer;

    std::string m_targetPath;
    /// The target with its symbolic links followed: the file that commit() replaces.
    std::filesystem::path m_resolvedPath;
    std::unique_ptr<SaveTemporary> m_temporary;
    std::unique_ptr<DescriptorBuffer> m_buffer;
    std::ostream m_stream{nullptr};
};

} // namespace Tarnwick
