#pragma once

#include <fstream>
#include <string>

namespace Tarnwick {

/// Writes a file so that a failure never damages the file already there: the content goes to a new
/// temporary file in the target's folder, which replaces the target (by renaming, atomic on POSIX
/// file systems) only in commit(). Destroying the writer without a successful commit removes the
/// temporary file and leaves the target as it was.
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
    /// it over the target. Returns false with the reason in `error` when any step fails.
    bool commit(std::string& error);

private:
    void discard();

    std::string m_targetPath;
    std::string m_temporaryPath;
    std::ofstream m_stream;
};

} // namespace Tarnwick
