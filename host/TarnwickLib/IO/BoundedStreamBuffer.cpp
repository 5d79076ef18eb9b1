#include <TarnwickLib/IO/BoundedStreamBuffer.h>

#include <algorithm>

namespace Tarnwick {

namespace {
constexpr std::uint64_t chunkSize = 64 * 1024;
}

BoundedStreamBuffer::BoundedStreamBuffer(std::istream& source, std::uint64_t limit)
    : m_source(source), m_remaining(limit) {}

BoundedStreamBuffer::int_type BoundedStreamBuffer::underflow() {
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    if (m_remaining == 0 || m_sourceEnded)
        return traits_type::eof();
    m_buffer.resize(static_cast<std::size_t>(std::min(m_remaining, chunkSize)));
    m_source.read(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    const auto received = static_cast<std::size_t>(m_source.gcount());
    m_remaining -= received;
    if (received < m_buffer.size())
        m_sourceEnded = true;
    if (received == 0)
        return traits_type::eof();
    setg(m_buffer.data(), m_buffer.data(), m_buffer.data() + received);
    return traits_type::to_int_type(*gptr());
}

bool BoundedStreamBuffer::skipRest() {
    while (underflow() != traits_type::eof())
        setg(eback(), egptr(), egptr());
    return !m_sourceEnded;
}

} // namespace Tarnwick
