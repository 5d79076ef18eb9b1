#pragma once

#include <cstdint>
#include <istream>
#include <streambuf>
#include <vector>

namespace Tarnwick {

/// A read-only stream buffer over the next `limit` bytes of another stream: reading stops at the
/// limit (end of file for the reader) even when the source goes on, and at the source's end when it
/// ends first. Reads the source in chunks of at most 64 KiB, so a large limit costs no memory.
///
///     BoundedStreamBuffer buffer(file, recordLength);
///     std::istream record(&buffer);
class BoundedStreamBuffer : public std::streambuf {
public:
    BoundedStreamBuffer(std::istream& source, std::uint64_t limit);

    /// Reads and drops whatever the reader left of the limit. Returns false when the source ended
    /// before `limit` bytes were read in all.
    bool skipRest();
    /// Whether the source ended before the limit was reached.
    bool sourceEnded() const { return m_sourceEnded; }

protected:
    int_type underflow() override;

private:
    std::istream& m_source;
    std::uint64_t m_remaining; ///< bytes of the limit not yet taken from the source
    bool m_sourceEnded = false;
    std::vector<char> m_buffer;
};

} // namespace Tarnwick
