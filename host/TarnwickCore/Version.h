#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick::Utils {

/// A "major.minor.patch" version number, compared component by component.
class Version {
public:
    Version(int majorNumber = 0, int minorNumber = 0, int patchNumber = 0);

    /// Parses "4.5.0" or "4.5" (patch 0): two or three non-negative decimal numbers separated by
    /// dots, nothing else (no spaces, signs or suffixes). Returns nothing for any other text.
    static std::optional<Version> parse(std::string_view text);

    int major() const { return m_major; }
    int minor() const { return m_minor; }
    int patch() const { return m_patch; }
    /// "4.5.0": always three components.
    std::string toString() const;

    friend bool operator==(const Version& a, const Version& b) { return a.compare(b) == 0; }
    friend bool operator!=(const Version& a, const Version& b) { return a.compare(b) != 0; }
    friend bool operator<(const Version& a, const Version& b) { return a.compare(b) < 0; }
    friend bool operator<=(const Version& a, const Version& b) { return a.compare(b) <= 0; }
    friend bool operator>(const Version& a, const Version& b) { return a.compare(b) > 0; }
    friend bool operator>=(const Version& a, const Version& b) { return a.compare(b) >= 0; }

private:
    /// Negative, zero or positive as this version is older than, equal to or newer than `other`.
    int compare(const Version& other) const;

    int m_major;
    int m_minor;
    int m_patch;
};

} // namespace Tarnwick::Utils
