#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <vector>

namespace Tarnwick {

namespace fs = std::filesystem;

AtomicFileWriter::AtomicFileWriter(std::string targetPath) : m_targetPath(std::move(targetPath)) {}

AtomicFileWriter::~AtomicFileWriter() {
    discard();
}

bool AtomicFileWriter::open(std::string& error) {
    const fs::path target(m_targetPath);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) {
        error = "cannot create a temporary file in '" + folder.string() + "': " + std::strerror(errno);
        return false;
    }
    ::close(descriptor);
    m_temporaryPath = name.data();
    m_stream.open(m_temporaryPath, std::ios::binary | std::ios::trunc);
    if (!m_stream) {
        error = "cannot open the temporary file '" + m_temporaryPath + "'";
        discard();
        return false;
    }
    return true;
}

bool AtomicFileWriter::commit(std::string& error) {
    if (m_temporaryPath.empty()) {
        error = "nothing to commit";
        return false;
    }
    m_stream.flush();
    const bool written = m_stream.good();
    m_stream.close();
    if (!written || m_stream.fail()) {
        error = "writing '" + m_temporaryPath + "' failed";
        return false;
    }
    const int descriptor = ::open(m_temporaryPath.c_str(), O_RDONLY);
    const bool synced = descriptor >= 0 && ::fsync(descriptor) == 0;
    if (descriptor >= 0)
        ::close(descriptor);
    if (!synced) {
        error = "cannot flush '" + m_temporaryPath + "' to disk: " + std::strerror(errno);
        return false;
    }
    std::error_code code;
    const auto existing = fs::status(m_targetPath, code);
    const auto permissions = fs::exists(existing) ? existing.permissions()
                                                  : fs::perms::owner_read | fs::perms::owner_write |
                                                        fs::perms::group_read | fs::perms::others_read;
    fs::permissions(m_temporaryPath, permissions, code);
    if (std::rename(m_temporaryPath.c_str(), m_targetPath.c_str()) != 0) {
        error = "cannot replace '" + m_targetPath + "': " + std::strerror(errno);
        return false;
    }
    m_temporaryPath.clear();
    return true;
}

void AtomicFileWriter::discard() {
    if (m_stream.is_open())
        m_stream.close();
    if (!m_temporaryPath.empty())
        std::remove(m_temporaryPath.c_str());
    m_temporaryPath.clear();
}

} // namespace Tarnwick
