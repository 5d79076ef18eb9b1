#include <TarnwickCore/Version.h>

#include <charconv>

namespace Tarnwick::Utils {

Version::Version(int majorNumber, int minorNumber, int patchNumber)
    : m_major(majorNumber), m_minor(minorNumber), m_patch(patchNumber) {}

std::optional<Version> Version::parse(std::string_view text) {
    int numbers[3] = {0, 0, 0};
    int count = 0;
    const char* position = text.data();
    const char* const end = text.data() + text.size();
    for (;;) {
        if (count == 3 || position == end || *position < '0' || *position > '9')
            return std::nullopt; // from_chars alone would accept a leading minus sign
        const auto [next, error] = std::from_chars(position, end, numbers[count]);
        if (error != std::errc())
            return std::nullopt;
        ++count;
        position = next;
        if (position == end)
            break;
        if (*position != '.')
            return std::nullopt;
        ++position;
    }
    if (count < 2)
        return std::nullopt;
    return Version(numbers[0], numbers[1], numbers[2]);
}

std::string Version::toString() const {
    return std::to_string(m_major) + "." + std::to_string(m_minor) + "." + std::to_string(m_patch);
}

int Version::compare(const Version& other) const {
    if (m_major != other.m_major)
        return m_major < other.m_major ? -1 : 1;
    if (m_minor != other.m_minor)
        return m_minor < other.m_minor ? -1 : 1;
    if (m_patch != other.m_patch)
        return m_patch < other.m_patch ? -1 : 1;
    return 0;
}

} // namespace Tarnwick::Utils
