#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <streambuf>
#include <vector>

namespace Tarnwick {

namespace fs = std::filesystem;

/// A stream buffer that writes to a file descriptor and keeps the error number of the first failed
/// write, so that a save can say why it failed.
class AtomicFileWriter::DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor) : m_descriptor(descriptor), m_buffer(1 << 16) {
        setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
    }
    /// 0 while every write succeeded.
    int errorNumber() const { return m_errorNumber; }

protected:
    int_type overflow(int_type c) override {
        if (!drain())
            return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override { return drain() ? 0 : -1; }
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode) override {
        if (!drain())
            return pos_type(off_type(-1));
        const int whence = direction == std::ios_base::beg   ? SEEK_SET
                           : direction == std::ios_base::cur ? SEEK_CUR
                                                             : SEEK_END;
        const off_t at = ::lseek(m_descriptor, static_cast<off_t>(offset), whence);
        return at < 0 ? pos_type(off_type(-1)) : pos_type(static_cast<off_type>(at));
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override {
        return seekoff(off_type(position), std::ios_base::beg, mode);
    }

private:
    bool drain() {
        for (const char* p = pbase(); p < pptr() && m_errorNumber == 0;) {
            const ssize_t written = ::write(m_descriptor, p, static_cast<std::size_t>(pptr() - p));
            if (written >= 0)
                p += written;
            else if (errno != EINTR)
                m_errorNumber = errno;
        }
        setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
        return m_errorNumber == 0;
    }

    int m_descriptor;
    std::vector<char> m_buffer;
    int m_errorNumber = 0;
};

AtomicFileWriter::AtomicFileWriter(std::string targetPath) : m_targetPath(std::move(targetPath)) {}

AtomicFileWriter::~AtomicFileWriter() = default;

bool AtomicFileWriter::open(std::string& error) {
    if (m_targetPath.empty()) {
        error = "no file name given";
        return false;
    }
    m_resolvedPath = SaveTemporary::resolveLinks(m_targetPath);
    m_temporary = std::make_unique<SaveTemporary>(m_resolvedPath, SaveTemporary::Kind::File);
    if (!m_temporary->created()) {
        const fs::path folder = m_resolvedPath.has_parent_path() ? m_resolvedPath.parent_path() : fs::path(".");
        error =
            "cannot create a temporary file in '" + folder.string() + "': " + std::strerror(m_temporary->errorNumber());
        m_temporary.reset();
        return false;
    }
    m_buffer = std::make_unique<DescriptorBuffer>(m_temporary->descriptor());
    m_stream.rdbuf(m_buffer.get());
    m_stream.clear();
    return true;
}

std::string AtomicFileWriter::writeError() const {
    return m_buffer && m_buffer->errorNumber() ? std::strerror(m_buffer->errorNumber()) : std::string();
}

bool AtomicFileWriter::commit(std::string& error) {
    if (!m_temporary) {
        error = "nothing to commit";
        return false;
    }
    m_stream.flush();
    const std::string temporary = m_temporary->path().string();
    if (!m_stream.good()) {
        const std::string cause = writeError();
        error = "cannot write '" + m_targetPath + "': " + (cause.empty() ? "the stream failed" : cause);
        return false;
    }
    if (::fsync(m_temporary->descriptor()) != 0) {
        error = "cannot flush '" + temporary + "' to disk: " + std::strerror(errno);
        return false;
    }
    std::error_code code;
    const auto existing = fs::status(m_resolvedPath, code);
    const auto permissions = fs::exists(existing) ? existing.permissions()
                                                  : fs::perms::owner_read | fs::perms::owner_write |
                                                        fs::perms::group_read | fs::perms::others_read;
    fs::permissions(temporary, permissions, code);
    if (std::rename(temporary.c_str(), m_resolvedPath.c_str()) != 0) {
        error = "cannot replace '" + m_targetPath + "': " + std::strerror(errno);
        return false;
    }
    m_temporary->release();
    return true;
}

} // namespace Tarnwick
